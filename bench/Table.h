// Tables of figures, printed row by row while they are measured.
#pragma once

#include <cstdio>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zun::bench {

/// For people at a terminal, or as Markdown, which goes into a page as it is.
class Table {
public:
    struct Column {
        std::string title;
        int width; ///< at a terminal; below 0: to the left
    };

    /// Prints the head.
    Table(std::vector<Column> all, bool asMarkdown) : columns(std::move(all)), markdown(asMarkdown) {
        std::vector<std::string> titles;
        for (Column const &column : columns) titles.push_back(column.title);
        print(titles);
        if (!markdown) return;
        for (Column const &column : columns) std::printf(column.width < 0 ? "|---" : "|--:");
        std::printf("|\n");
    }

    /// A cell for each column.
    void print(std::vector<std::string> const &cells) const {
        for (std::size_t i = 0; i < columns.size(); i++)
            if (markdown)
                std::printf("| %s ", cells[i].c_str());
            else
                std::printf("%*s%s", columns[i].width, cells[i].c_str(), i + 1 < columns.size() ? " " : "");
        std::printf(markdown ? "|\n" : "\n");
        std::fflush(stdout);
    }

private:
    std::vector<Column> columns;
    bool markdown;
};

/// With the digits that mean something.
inline std::string shown(std::optional<double> value) {
    if (!value) return "-";
    char text[32];
    std::snprintf(text, sizeof text, *value < 0.1 ? "%.3f" : *value < 10 ? "%.2f" : "%.1f", *value);
    return text;
}

} // namespace zun::bench
