#pragma once
// Names for parameterised cases made from their text, so that CTest lists
// "Runs/RunOutcome.StatusAndMessages/VerifyPassesAndLogIsSaved" instead of a number and
// `ctest -R` finds a case by its name. Every INSTANTIATE_TEST_SUITE_P takes its names from
// ParamName:
//
//     INSTANTIATE_TEST_SUITE_P(Runs, RunOutcome, ::testing::ValuesIn(kOutcomes),
//                              tessaron::test::ParamName());
//     INSTANTIATE_TEST_SUITE_P(Lines, ReadLine, ::testing::ValuesIn(kLines),
//                              tessaron::test::ParamName(&LineCase::text));

#include <gtest/gtest.h>

#include <cctype>
#include <cstddef>
#include <string>
#include <tuple>
#include <type_traits>

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

// The text a case is known by: its member `name` (or `Name`), the parameter itself when it
// is text, or the texts of a tuple's parts one after the other (Combine).
template <class P> std::string NameText(const P& p) {
    if constexpr (requires { std::string(p.name); }) {
        return std::string(p.name);
    } else if constexpr (requires { std::string(p.Name); }) {
        return std::string(p.Name);
    } else if constexpr (requires { std::tuple_size<P>::value; }) {
        return std::apply(
            [](const auto&... part) { return (std::string() + ... + NameText(part)); }, p);
    } else {
        return std::string(p);
    }
}

// The name generator of every parameterised suite: ParamName() names a case by NameText,
// ParamName(&Case::member) by that member's text.
template <class Member = std::nullptr_t> struct ParamName {
    Member member = nullptr;

    template <class P> std::string operator()(const ::testing::TestParamInfo<P>& info) const {
        if constexpr (std::is_null_pointer_v<Member>) {
            return NameOf(NameText(info.param));
        } else {
            return NameOf(NameText(info.param.*member));
        }
    }
};
template <class C, class T> ParamName(T C::*) -> ParamName<T C::*>;

} // namespace tessaron::test
