#pragma once
// Names for parameterised cases made from their text, so that CTest lists
// "Lines/ReadLine.ActionLoadsAndFields/_RUN_a_set" instead of a number.

#include <cctype>
#include <string>

namespace tessaron::test {

// text with every character that a test name cannot hold turned into "_"; "Empty" for "".
inline std::string NameOf(const std::string& text) {
    if (text.empty()) {
        return "Empty";
    }
    std::string name = text;
    for (char& c : name) {
        if (!std::isalnum(static_cast<unsigned char>(c))) {
            c = '_';
        }
    }
    return name;
}

// The name generator of parameterised cases that carry their name in a field `name`:
//   INSTANTIATE_TEST_SUITE_P(Runs, Overlap, ::testing::ValuesIn(kCases), CaseName());
struct CaseName {
    template <class ParamInfo> std::string operator()(const ParamInfo& info) const {
        return NameOf(info.param.name);
    }
};

} // namespace tessaron::test
