// Databases for the data-access object tests: copies of Access-made fixtures placed on the
// workstation's C: drive, reached by their Windows paths as the application reaches them.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/dao/dao.h"
#include "platform_test_support.h"

namespace dao_test {

namespace fs = std::filesystem;

inline fs::path fixture(const std::string& name) { return fs::path(QUELIS_FIXTURES) / name; }

class DaoTest : public platform_test::WorkstationTest {
 protected:
  // Copies fixture `name` to C:\QUELIS\Bases\<as> and returns its Windows path.
  std::string place(const std::string& name, const std::string& as) {
    fs::create_directories(c() / "QUELIS" / "Bases");
    const fs::path target = c() / "QUELIS" / "Bases" / as;
    fs::copy_file(fixture(name), target, fs::copy_options::overwrite_existing);
    fs::permissions(target, fs::perms::owner_read | fs::perms::owner_write, fs::perm_options::add);
    return "C:\\QUELIS\\Bases\\" + as;
  }
  fs::path local(const std::string& as) const { return c() / "QUELIS" / "Bases" / as; }
  std::string bytesOf(const std::string& as) const { return platform_test::readBytes(local(as)); }

  platform::dao::DBEngine engine_{ws_};
};

}  // namespace dao_test
