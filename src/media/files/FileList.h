// The files that the path of a reader stands for.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "pipeline/NodeFacts.h"

namespace zun::media {

/// What to do where a number is missing in a numbered sequence.
enum class Gaps { Error, Skip };

/// A path, resolved. It is, the first that fits:
///
/// - "-", an address such as rtsp://camera/stream, or a camera such as v4l2:/dev/video0: itself;
/// - the name of a file that exists, whatever characters are in it; a file that ends with .txt is a list of files, one
///   a line, relative to the folder of the list;
/// - a folder: the pictures and videos in it, but not in folders below;
/// - a numbered pattern such as in-%05d.png;
/// - a glob such as photos/*.jpg: all files that fit, of whatever ending.
///
/// Folders and globs are in natural order: photo2 comes before photo10. Hidden files and partial ones are left out,
/// unless a glob begins with a dot.
struct FileList {
    struct Entry {
        std::string file;
        std::uint64_t number = 0; ///< in its name, for a numbered pattern; else its place in the list, from 0
    };

    /// Throws zun::Exception where nothing is found, with the folder that was looked in and the nearest existing name,
    /// and for a gap in a numbered sequence, with the missing number and the next one that exists. `first` is the
    /// number that a sequence begins with; -1 for the lowest that exists. `count` is how many files of a sequence are
    /// wanted, so that gaps after them don't matter; 0 for all.
    FileList(std::string const &path, std::int64_t first, Gaps gaps, std::uint64_t count = 0);

    /// The files that a node reads under such a path, for its forecast; asks the disk as little as possible.
    static FileUse use(std::string const &path);

    /// Whether a path names a stream or device, and not a file.
    static bool isStream(std::string const &path);

    std::vector<Entry> files;
    bool isList = false;            ///< a folder, a glob, a list or a numbered pattern, and not one file
    std::vector<std::string> notes; ///< "begins with 'in-001.png'", where it wasn't asked to
};

/// Whether a file's name ends like that of a picture or a video, so that it counts in a folder.
bool isMediaName(std::string const &file);

/// Whether `a` comes before `b` in natural order: numbers by their value, letters without their case, folder by folder.
bool naturallyBefore(std::string const &a, std::string const &b);

/// What a file that can't be opened might have been: ". The folder 'photos' has 'cup.png', but no 'cap.png'", or that
/// the folder itself is missing; empty if nothing can be said.
std::string nearestExisting(std::string const &path);

} // namespace zun::media
