// Whole-file maintenance of DBEngine: repair in place and compaction into a new file.
// Both need the file free (3045 / 3356 while someone has it open) and a Jet 4 database
// (3024, 3044, 3343, 3049 as OpenDatabase). Compaction refuses an existing destination
// (3204) and leaves nothing behind when it fails.
#pragma once

#include <cstdint>
#include <functional>

#include <string_view>

#include "platform/workstation.h"

namespace platform::dao::detail {

void repairDatabase(const platform::Workstation& workstation, std::string_view path,
                    const std::function<void(std::uint64_t, std::uint64_t)>& progress = {});
void compactDatabase(const platform::Workstation& workstation, std::string_view source,
                     std::string_view destination,
                     const std::function<void(std::uint64_t, std::uint64_t)>& progress = {});

}  // namespace platform::dao::detail
