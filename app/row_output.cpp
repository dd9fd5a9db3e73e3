#include "app/row_output.h"

namespace orvane::app {

void printRow(std::ostream& out, std::string_view key, std::string_view text) {
    out << key << '\t';
    std::size_t start = 0;
    for (auto feed = text.find('\n'); feed != std::string_view::npos;
         feed = text.find('\n', start)) {
        out << text.substr(start, feed - start) << "<enter>";
        start = feed + 1;
    }
    out << text.substr(start) << '\n';
}

}  // namespace orvane::app
