#include "jet/base/error.h"

#include "jet/base/error_texts.h"

namespace jet {

std::string describe(int number, std::string_view argument) { return error_message(number, argument); }

Error::Error(int number, std::string description)
    : std::runtime_error(description), number_(number), description_(std::move(description)) {}

Error::Error(ErrorCode code, std::string_view argument)
    : Error(static_cast<int>(code), describe(static_cast<int>(code), argument)) {}

}  // namespace jet
