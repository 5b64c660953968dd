// Errors raised by the object model: the engine's numbers and French texts, as
// platform::Error (what the application's error traps see).
#pragma once

#include <string_view>

#include "jet/api/values.h"
#include "platform/error.h"

namespace platform::dao {

// Numbers raised by the object model itself, beyond the engine's.
namespace dao_errors {
inline constexpr int InvalidArgument = 3001;
inline constexpr int UpdateWithoutEdit = 3020;       // Update/CancelUpdate without AddNew/Edit
inline constexpr int NoCurrentRecord = 3021;
inline constexpr int ReadOnly = 3027;                // object or database read only
inline constexpr int NoTransaction = 3034;           // CommitTrans/Rollback without BeginTrans
inline constexpr int RecordDeleted = 3167;
inline constexpr int DatabaseExists = 3204;
inline constexpr int InvalidOperation = 3219;
inline constexpr int NotSupported = 3251;
inline constexpr int InvalidFieldType = 3259;
inline constexpr int NoFieldDefined = 3264;
inline constexpr int ItemNotFound = 3265;
inline constexpr int PropertyNotFound = 3270;
inline constexpr int PrimaryKeyExists = 3283;
inline constexpr int IndexExists = 3284;
inline constexpr int RelationWithoutFields = 3366;
inline constexpr int NameExists = 3367;              // append: name already in the collection
inline constexpr int InvalidObject = 3420;           // object closed or no longer set
inline constexpr int ObjectExists = 3012;            // an object of that name exists
}  // namespace dao_errors

// The error `number` with its catalogue text (`argument` fills the text's placeholder).
platform::Error daoError(int number, std::string_view argument = {});

// Runs `body`, turning an engine error into the run-time error the trap sees.
template <class F>
auto guarded(F&& body) -> decltype(body()) {
  try {
    return body();
  } catch (const jet::Error& e) {
    throw platform::fromJet(e);
  }
}

}  // namespace platform::dao
