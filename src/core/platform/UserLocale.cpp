#include "platform/UserLocale.h"

#include <clocale>

namespace tessaron {

namespace {

// Every category but LC_ALL (the C library of Windows has no LC_MESSAGES).
constexpr int kCategories[] = {
    LC_CTYPE,    LC_COLLATE, LC_MONETARY, LC_NUMERIC, LC_TIME,
#ifdef LC_MESSAGES
    LC_MESSAGES,
#endif
};

std::string& NumericLocale() {
    static std::string name = "C";
    return name;
}

} // namespace

void UseUserLocale() {
    if (std::setlocale(LC_ALL, "") == nullptr) {
        // One unknown category makes the whole call fail; take the others one by one.
        for (const int category : kCategories) {
            std::setlocale(category, "");
        }
    }
    const char* numeric = std::setlocale(LC_NUMERIC, nullptr);
    NumericLocale() = numeric != nullptr ? numeric : "C";
    std::setlocale(LC_NUMERIC, "C");
}

std::string UserNumericLocale() {
    return NumericLocale();
}

} // namespace tessaron
