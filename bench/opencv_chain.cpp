// The chain of pipelines/chain.yaml, written with OpenCV by hand: frames without a header, read into the same memory
// each time, played over and over.
//
//   bench_opencv_chain FILE COLUMNS ROWS FRAMES THREADS

#include <cstdlib>
#include <fstream>
#include <iostream>

#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

int main(int argc, char **argv) {
    if (argc != 6) {
        std::cerr << "usage: bench_opencv_chain FILE COLUMNS ROWS FRAMES THREADS\n";
        return 2;
    }
    cv::setNumThreads(std::atoi(argv[5]));
    std::ifstream film;
    film.rdbuf()->pubsetbuf(nullptr, 0); // frames are large
    film.open(argv[1], std::ios::binary);
    cv::Mat frame(std::atoi(argv[3]), std::atoi(argv[2]), CV_8UC3), small, grey, smooth, edges;
    auto const bytes = static_cast<std::streamsize>(frame.total() * frame.elemSize());
    for (int i = 0; i < std::atoi(argv[4]); i++) {
        if (!film.read(reinterpret_cast<char *>(frame.data), bytes)) {
            film.clear();
            film.seekg(0);
            if (!film.read(reinterpret_cast<char *>(frame.data), bytes)) {
                std::cerr << "bench_opencv_chain: '" << argv[1] << "' holds no frame\n";
                return 1;
            }
        }
        cv::resize(frame, small, cv::Size(1280, 720), 0, 0, cv::INTER_LINEAR);
        cv::cvtColor(small, grey, cv::COLOR_RGB2GRAY);
        cv::blur(grey, smooth, cv::Size(9, 9));
        cv::Canny(smooth, edges, 20, 60);
    }
}
