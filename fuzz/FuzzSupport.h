#pragma once
// What every fuzz target shares: a check that stops the run with a message, so that
// libFuzzer keeps the input that broke an invariant.

#include <cstdio>
#include <cstdlib>
#include <string>

namespace tessaron::fuzz {

inline void Require(bool holds, const char* what, const std::string& detail = "") {
    if (!holds) {
        std::fprintf(stderr, "invariant broken: %s\n%s\n", what, detail.c_str());
        std::abort();
    }
}

} // namespace tessaron::fuzz
