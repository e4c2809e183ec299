// Error messages as text, for tests that pin them.
#pragma once

#include <string>

// The what() of the Error that `action` throws; "" when it throws none.
template <typename Error, typename Action>
std::string thrown(Action action) {
    try {
        action();
    } catch (const Error& error) {
        return error.what();
    }
    return "";
}
