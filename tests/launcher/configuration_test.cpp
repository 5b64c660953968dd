// Configuration detection and version texts, on their own.
#include <gtest/gtest.h>

#include "launcher/configuration.h"
#include "pipeline/program_state.h"

namespace launcher {
namespace {

TEST(Configuration, WholeFolderComparedWithoutRegardToCase) {
  EXPECT_EQ(DetectConfiguration("C:\\QuelisEcole\\").type, pipeline::kConfigurationEcole);
  EXPECT_EQ(DetectConfiguration("c:\\quelisecole\\").label, "Configuration ECOLE");
  EXPECT_EQ(DetectConfiguration("g:\\Quelis\\").type, pipeline::kConfigurationReseau);
  EXPECT_EQ(DetectConfiguration("G:\\QUELIS\\").label, "Configuration NPX-CDIF");
  EXPECT_TRUE(DetectConfiguration("C:\\Quelis\\").known);
  for (const char* other : {"C:\\QUELIS", "C:\\QUELIS\\Outils\\", "C:\\QUELISECOLE2\\", "G:\\QUELIS\\X\\",
                            "H:\\QUELIS\\", "\\\\serveur\\QUELIS\\", ""}) {
    SCOPED_TRACE(other);
    const Configuration c = DetectConfiguration(other);
    EXPECT_EQ(c.type, pipeline::kConfigurationPortable);
    EXPECT_EQ(c.label, "Configuration PORTABLE");
    EXPECT_FALSE(c.known);
  }
}

TEST(Configuration, RevisionCarriesTheLastTwoNumbers) {
  EXPECT_EQ(VersionFromResource(4, 4, 3).courte, "4.4.0");
  EXPECT_EQ(VersionFromResource(4, 4, 3).complete, "4.4.0.3");
  EXPECT_EQ(VersionFromResource(4, 4, 312).complete, "4.4.3.12");
  EXPECT_EQ(VersionFromResource(4, 4, 100).complete, "4.4.1.0");
  EXPECT_EQ(VersionFromResource(4, 4, 99).complete, "4.4.0.99");
  EXPECT_EQ(VersionFromResource(5, 10, 1234).courte, "5.10.12");
  EXPECT_EQ(VersionFromResource(5, 10, 1234).complete, "5.10.12.34");
}

}  // namespace
}  // namespace launcher
