// Texts that failures are made of.
#include "app/Failure.h"

#include <system_error>

namespace orvo::host {

std::string quoted(const std::string& text) {
    return "'" + text + "'";
}

std::string systemError(int number) {
    return std::generic_category().message(number);
}

} // namespace orvo::host
