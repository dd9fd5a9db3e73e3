// The rows of the time format catalogue and the split of the fraction rows.
#include "stamp/time_formats.h"

#include <cstddef>

namespace orvane::stamp {

namespace {

// The stored row number indexes this list, so rows are only ever appended.
constexpr std::array<std::string_view, kTimeFormatRowCount> kRows = {
    "None",
    "system;2;2",
    "system;1;1",
    "system;3;2",
    "system;4;2",
    "system;3;1",
    "system;4;1",
    "system;3;0",
    "system;4;0",
    "system;2;0",
    "system;1;0",
    "system;3;3",
    "system;4;4",
    "MM/dd/yyyy HH:mm:ss",
    "MM/dd/yyyy HH:mm",
    "MM/dd/yyyy",
    "dd/MM/yyyy HH:mm:ss",
    "dd/MM/yyyy HH:mm",
    "dd/MM/yyyy",
    "yyyy-MM-dd HH:mm:ss",
    "yyyy-MM-dd HH:mm",
    "yyyy-MM-dd",
    "yyyy/MM/dd HH:mm:ss",
    "yyyy/MM/dd HH:mm",
    "yyyy/MM/dd",
    "dd:MM:yyyy HH:mm:ss",
    "dd:MM:yyyy HH:mm",
    "dd:MM:yyyy",
    "dd-MMM-yyyy HH:mm:ss",
    "dd-MMM-yyyy HH:mm",
    "dd-MMM-yyyy",
    "system;0;1",
    "system;0;2",
    "system;0;3",
    "system;0;4",
    "HH:mm:ss",
    "HH:mm",
    "dd MMM yyyy  hh:mm:ss a",
    "MM/dd/yy hh:mmaa",
    "MMM dd, yyyy hh:mmaa",
    "MMMM dd, yyyy hh:mmaa",
    "E, MMMM dd, yyyy hh:mmaa",
    "EEEE, MMMM dd, yyyy hh:mmaa",
    "EEEE, MMMM dd, yyyy HH:mm",
    "EEE, dd MMM yyyy HH:mm:ss",
    "EEE, MMM dd yyyy HH:mm:ss",
    "MM/dd/yyyy HH:mm:ss.SSS",
    "MM/dd/yyyy HH:mm:ss.SS",
    "MM/dd/yyyy HH:mm:ss.S",
    "yyyy-MM-dd HH:mm:ss.SS",
    "dd/MM/yyyy HH:mm:ss.S",
    "HH:mm:ss.SSS",
    "HH:mm:ss.SS",
    "MMM dd yyyy, HH:mm:ss.SSS",
    "E, MMMM dd yyyy, HH:mm:ss.SS",
    "EEE, MMM dd yyyy, HH:mm:ss.S",
    "EEE MMM dd, yyyy h:mmaa",
    "M/d/yyyy h:mm aa",
    "d MMM yyyy h:mm:ss aa",
    "MMM d, yyyy\nhh:mm:ss aa",
    "MM/dd/yyyy\nHH:mm:ss",
    "MM/dd/yyyy\nHH:mm",
    "dd/MM/yyyy\nHH:mm:ss",
    "dd/MM/yyyy\nHH:mm",
    "yyyy-MM-dd\nHH:mm:ss",
    "yyyy-MM-dd\nHH:mm",
    "yyyy/MM/dd\nHH:mm:ss",
    "yyyy/MM/dd\nHH:mm",
    "dd:MM:yyyy\nHH:mm:ss",
    "dd:MM:yyyy\nHH:mm",
    "dd-MMM-yyyy\nHH:mm:ss",
    "dd-MMM-yyyy\nHH:mm",
    "dd MMM yyyy\nhh:mm:ss a",
    "MM/dd/yy\nhh:mmaa",
    "MMM dd, yyyy\nhh:mmaa",
    "MMMM dd, yyyy\nhh:mmaa",
    "E, MMMM dd, yyyy\nhh:mmaa",
    "EEEE, MMMM dd, yyyy\nhh:mmaa",
    "EEEE, MMMM dd, yyyy\nHH:mm",
    "EEE, dd MMM yyyy\nHH:mm:ss",
    "EEE, MMM dd yyyy\nHH:mm:ss",
    "yyyy.MM.dd",
    "d MMM yyyy",
    "d MMM yyyy HH:mm:ss",
    "dd MMM yyyy EEE h:mmaa",
    "dd MMM yyyy\nEEE h:mmaa",
    "EEE dd MMM yyyy h:mmaa",
    "EEE | dd MMM yyyy | h:mmaa",
    "EEE MMM dd yyyy h:mmaa",
    "dd/MMM/yyyy",
    "dd.MM.yyyy HH:mm",
};

constexpr int kFirstFractionRow = 46;
constexpr std::array<FractionPattern, 10> kFractionPatterns = {{
    {"MM/dd/yyyy HH:mm:ss.", "SSS"},
    {"MM/dd/yyyy HH:mm:ss.", "SS"},
    {"MM/dd/yyyy HH:mm:ss.", "S"},
    {"yyyy-MM-dd HH:mm:ss.", "SS"},
    {"dd/MM/yyyy HH:mm:ss.", "S"},
    {"HH:mm:ss.", "SSS"},
    {"HH:mm:ss.", "SS"},
    {"MMM dd yyyy, HH:mm:ss.", "SSS"},
    {"E, MMMM dd yyyy, HH:mm:ss.", "SS"},
    {"EEE, MMM dd yyyy, HH:mm:ss.", "S"},
}};

}  // namespace

const std::array<std::string_view, kTimeFormatRowCount>& timeFormatRows() {
    return kRows;
}

std::optional<FractionPattern> fractionPatternOfRow(int row) {
    const int index = row - kFirstFractionRow;
    if (index < 0 || index >= static_cast<int>(kFractionPatterns.size())) {
        return std::nullopt;
    }
    return kFractionPatterns[static_cast<std::size_t>(index)];
}

}  // namespace orvane::stamp
