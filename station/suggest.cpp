#include <algorithm>
#include <numeric>
#include <utility>

#include "station/options.h"

namespace station {
namespace {

// Returns how many characters are to be inserted, deleted or replaced to turn one text into the
// other.
size_t editDistance(const std::string& from, const std::string& into) {
    std::vector<size_t> row(into.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 0; i < from.size(); i++) {
        size_t diagonal = std::exchange(row[0], i + 1);
        for (size_t j = 0; j < into.size(); j++) {
            const size_t replaced = diagonal + (from[i] == into[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, diagonal + 1, row[j] + 1});
        }
    }
    return row.back();
}

}  // namespace

std::string suggestion(const std::string& typed, const Words& names, char quote) {
    std::string nearest;
    size_t least = std::min<size_t>(3, 1 + typed.size() / 3);
    for (const std::string& name : names) {
        const bool isPart = name.starts_with(typed) || name.ends_with(' ' + typed);
        const size_t distance = isPart ? 0 : editDistance(typed, name);
        if (distance > least)
            continue;
        nearest =
            (distance < least || nearest.empty() ? "" : nearest + ", ") + quote + name + quote;
        least = distance;
    }
    return nearest.empty() ? "" : "; did you mean " + nearest + "?";
}

}  // namespace station
