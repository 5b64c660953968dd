#include "platform/error.h"

#include <filesystem>
#include <limits>
#include <new>

#include "jet/api/values.h"
#include "platform/program.h"

namespace platform {

std::string describe(std::int32_t number) { return jet::error_message(number); }

Error::Error(ErrorCode code) : Error(static_cast<std::int32_t>(code), describe(static_cast<std::int32_t>(code))) {}

Error::Error(std::int32_t number, std::string description)
    : std::runtime_error(description), number_(number), description_(std::move(description)) {}

Error applicationError(std::int32_t offset, std::string description) {
  return Error(kObjectErrorBase + offset, std::move(description));
}

Error fromJet(const jet::Error& error) { return Error(error.number(), error.description()); }

Error currentError() {
  try {
    throw;
  } catch (const ProgramEnd&) {
    throw;  // the end of the program is not an error a trap may swallow
  } catch (const Error& e) {
    return e;
  } catch (const jet::Error& e) {
    return fromJet(e);
  } catch (const std::bad_alloc&) {
    return Error(ErrorCode::OutOfMemory);
  } catch (const std::filesystem::filesystem_error&) {
    return Error(ErrorCode::PathFileAccessError);
  } catch (const std::exception& e) {
    return Error(static_cast<std::int32_t>(ErrorCode::InvalidProcedureCall), e.what());
  }
}

std::int32_t displayedNumber(std::int32_t number) {
  constexpr std::int64_t kShift = 2147221504;
  const std::int64_t sum = static_cast<std::int64_t>(number) + kShift;
  if (sum > std::numeric_limits<std::int32_t>::max() || sum < std::numeric_limits<std::int32_t>::min())
    throw Error(ErrorCode::Overflow);
  return static_cast<std::int32_t>(sum);
}

}  // namespace platform
