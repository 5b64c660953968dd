#include "platform/dao/collection.h"

#include "platform/dao/dao_error.h"
#include "platform/vbstring.h"

namespace platform::dao::detail {

void raiseItemNotFound(int number) { throw daoError(number); }

bool sameName(std::string_view a, std::string_view b) { return platform::EqualsNoCase(a, b); }

}  // namespace platform::dao::detail
