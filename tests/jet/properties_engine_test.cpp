// Property blobs read through the engine's catalog are the bytes mdbtools reads.
#include <gtest/gtest.h>

#include "properties_oracle.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace properties_engine_test_cases {

namespace {

TEST(PropertyBlobsThroughTheCatalog, AreTheBytesMdbtoolsReads) {
  QUELIS_NEEDS_MDBTOOLS();
  std::size_t blobs = 0;
  for (const auto& path : jet_oracle::fixtures()) {
    SCOPED_TRACE(path.filename().string());
    const auto from_engine = jet_oracle::engine_property_blobs(path);
    const auto expected = jet_oracle::property_blobs(path);
    ASSERT_EQ(from_engine.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
      SCOPED_TRACE(expected[i].object);
      EXPECT_EQ(from_engine[i].object, expected[i].object);
      EXPECT_EQ(from_engine[i].bytes, expected[i].bytes);
      ++blobs;
    }
  }
  EXPECT_GE(blobs, 100u);
}

}  // namespace

}  // namespace properties_engine_test_cases
