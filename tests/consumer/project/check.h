// A check that fails the program, and goes on.
#pragma once

#include <iostream>

namespace consumer {

#ifdef CONSUMER_STANDARD
static_assert(__cplusplus == CONSUMER_STANDARD, "compiled as another standard than was asked for");
#endif

inline int checks = 0;
inline int failures = 0;

template <class A, class B>
void checkEqual(const A& actual, const B& expected, const char* what, int line) {
    ++checks;
    if (!(actual == expected)) {
        ++failures;
        std::cerr << "line " << line << ": " << what << '\n';
    }
}

/// What main returns: success only if something was checked and nothing failed.
inline int result() {
    std::cout << checks << " checks, " << failures << " failures\n";
    return checks > 0 && failures == 0 ? 0 : 1;
}

}  // namespace consumer

#define CHECK_EQUAL(actual, expected) \
    consumer::checkEqual(actual, expected, #actual " is not " #expected, __LINE__)
