// How deep JSON nests, read before parsing: brackets in strings, escapes, and text that is not
// JSON at all.
#include "platform/json_nesting.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace orvane::platform {
namespace {

TEST(JsonNesting, CountsOnlyTheBracketsOfArraysAndObjects) {
    struct Row {
        std::string text;
        std::size_t levels;
        bool deeper;
    };
    const std::vector<Row> rows = {
        {"{}", 0, true},
        {"\"{[\" 1 true", 0, false},
        {"{\"a\": [1, {\"b\": []}]}", 4, false},
        {"{\"a\": [1, {\"b\": []}]}", 3, true},
        {"[[]] [[]] [[]]", 2, false},  // siblings do not add up
        {"{\"[[[[\": \"}}}}\"}", 1, false},
        {"[\"\\\"[[\", []]", 1, true},  // an escaped quote does not end the string
        {"[\"\\\\\", [[]]]", 2, true},  // an escaped backslash does not escape the quote
        {"]]]]]]][[", 2, false},        // closers before openers count for nothing
        {std::string(65, '['), kMaxJsonNesting, true},
        {std::string(64, '[') + std::string(64, ']'), kMaxJsonNesting, false},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(jsonNestsDeeperThan(row.text, row.levels), row.deeper)
            << row.text << " within " << row.levels;
    }
}

}  // namespace
}  // namespace orvane::platform
