#include "platform/dao/dao_error.h"

#include "jet/api/values.h"

namespace platform::dao {

platform::Error daoError(int number, std::string_view argument) {
  return platform::Error(number, jet::error_message(number, argument));
}

}  // namespace platform::dao
