#include "description/Diff.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string_view>
#include <vector>

namespace zun::engine {
namespace {

using Lines = std::vector<std::string_view>;

constexpr std::size_t context = 3, mostCells = 4u << 20;

/// A line of the result: of both texts (' '), of the first ('-') or the second ('+').
struct Step {
    char sign;
    std::string_view line;
};

/// With their line breaks, so that a last line without one differs.
Lines linesOf(std::string_view text) {
    Lines lines;
    while (!text.empty()) {
        std::size_t const size = std::min(text.find('\n'), text.size() - 1) + 1;
        lines.push_back(text.substr(0, size));
        text.remove_prefix(size);
    }
    return lines;
}

/// The shortest way from one list of lines to another, by their longest common subsequence.
void addSteps(Lines const &a, Lines const &b, std::vector<Step> &steps) {
    std::size_t i = 0, j = 0;
    if ((a.size() + 1) * (b.size() + 1) <= mostCells) {
        std::size_t const width = b.size() + 1;
        std::vector<std::uint32_t> common((a.size() + 1) * width); // lines from i and j on
        for (std::size_t row = a.size(); row-- > 0;)
            for (std::size_t column = b.size(); column-- > 0;) {
                std::size_t const cell = row * width + column;
                common[cell] = a[row] == b[column] ? common[cell + width + 1] + 1
                                                   : std::max(common[cell + width], common[cell + 1]);
            }
        while (i < a.size() && j < b.size()) {
            bool const same = a[i] == b[j];
            if (same || common[(i + 1) * width + j] >= common[i * width + j + 1])
                steps.push_back({same ? ' ' : '-', a[i++]});
            else
                steps.push_back({'+', b[j]});
            if (same || steps.back().sign == '+') j++;
        }
    }
    for (; i < a.size(); i++) steps.push_back({'-', a[i]});
    for (; j < b.size(); j++) steps.push_back({'+', b[j]});
}

std::vector<Step> stepsBetween(Lines const &a, Lines const &b) {
    auto const [headEnd, unused] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    auto const head = headEnd - a.begin();
    auto const tailBegin = std::mismatch(a.rbegin(), std::make_reverse_iterator(headEnd), b.rbegin(),
                                         std::make_reverse_iterator(b.begin() + head));
    std::vector<Step> steps;
    for (auto line = a.begin(); line != headEnd; ++line) steps.push_back({' ', *line});
    addSteps(Lines(headEnd, tailBegin.first.base()), Lines(b.begin() + head, tailBegin.second.base()), steps);
    for (auto line = tailBegin.first.base(); line != a.end(); ++line) steps.push_back({' ', *line});
    return steps;
}

/// "4,7": the first line and how many; the line before where there are none.
std::string range(std::size_t before, std::size_t count) {
    return std::to_string(before + (count > 0)) + (count == 1 ? "" : "," + std::to_string(count));
}

} // namespace

std::string unifiedDiff(std::string const &before, std::string const &after, std::string const &name) {
    std::vector<Step> const steps = stepsBetween(linesOf(before), linesOf(after));
    auto const isChange = [](Step const &step) { return step.sign != ' '; };
    std::string diff;
    std::size_t lines[2] = {0, 0}; // of both texts, before the step
    std::size_t at = 0;
    auto const nextChange = [&](std::size_t from) {
        auto const begin = steps.begin() + static_cast<std::ptrdiff_t>(from);
        return static_cast<std::size_t>(std::find_if(begin, steps.end(), isChange) - steps.begin());
    };
    for (std::size_t change; (change = nextChange(at)) < steps.size();) {
        std::size_t const begin = std::max(at, change - std::min(change, context));
        for (auto &line : lines) line += begin - at; // what is left out is in both
        std::size_t end = change;
        for (; change < steps.size() && change <= end + 2 * context; change = nextChange(end)) end = change + 1;
        end = std::min(end + context, steps.size());

        std::string hunk;
        std::size_t counts[2] = {0, 0};
        for (at = begin; at < end; at++) {
            auto const &[sign, line] = steps[at];
            counts[0] += sign != '+';
            counts[1] += sign != '-';
            hunk.append(1, sign).append(line);
            if (!line.ends_with('\n')) hunk += "\n\\ No newline at end of file\n";
        }
        diff += diff.empty() ? "--- " + name + "\n+++ " + name + "\n" : "";
        diff += "@@ -" + range(lines[0], counts[0]) + " +" + range(lines[1], counts[1]) + " @@\n" + hunk;
        lines[0] += counts[0];
        lines[1] += counts[1];
    }
    return diff;
}

} // namespace zun::engine
