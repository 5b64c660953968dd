#include "platform/environment.h"

#include "platform_test_support.h"

namespace platform_test {
namespace {

using platform::DateTime;

TEST(VbFormat, DateAndTimePatternsOfTheLogNames) {
  const DateTime t{2013, 1, 15, 14, 30, 5};
  EXPECT_EQ(platform::Format(t, "yyyymmdd"), "20130115");
  EXPECT_EQ(platform::Format(t, "hhmmss"), "143005") << "mm right after hh is minutes";
  EXPECT_EQ(platform::Format(t, "yyyymmdd") + platform::Format(t, "hhmmss"), "20130115143005");
  EXPECT_EQ(platform::Format(t, "d/m/yy h:nn"), "15/1/13 14:30");
  EXPECT_EQ(platform::DateText(t), "15/01/2013");
  EXPECT_EQ(platform::TimeText({2013, 1, 15, 9, 5, 0}), "09:05:00");
}

TEST(FixedClockTime, AdvancesAcrossDaysMonthsAndYears) {
  platform::FixedClock clock({2012, 12, 31, 23, 59, 58});
  clock.advanceSeconds(3);
  EXPECT_EQ(clock.Now(), (DateTime{2013, 1, 1, 0, 0, 1}));
  clock.set({2012, 2, 28, 12, 0, 0});
  clock.advanceSeconds(86400);
  EXPECT_EQ(clock.Now(), (DateTime{2012, 2, 29, 12, 0, 0})) << "leap year";
  clock.advanceSeconds(-86400 * 2);
  EXPECT_EQ(clock.Now(), (DateTime{2012, 2, 27, 12, 0, 0}));
}

TEST(SystemClockTime, GivesAPlausibleLocalTime) {
  const DateTime now = platform::SystemClock().Now();
  EXPECT_GE(now.year, 2020);
  EXPECT_TRUE(now.month >= 1 && now.month <= 12 && now.day >= 1 && now.day <= 31);
}

class EnvironmentTest : public ::testing::Test {
 protected:
  TempFolder temp_;
};

TEST_F(EnvironmentTest, TestEnvironmentBundlesAFixedClockAndARecordingLauncher) {
  fs::create_directories(temp_.path() / "C" / "QUELIS");
  auto env = platform::Environment::ForTests(temp_.path(), {2013, 1, 15, 14, 30, 5});
  EXPECT_EQ(env.Date(), "15/01/2013");
  EXPECT_EQ(env.Time(), "14:30:05");
  EXPECT_EQ(env.program().Path, "C:\\QUELIS");
  EXPECT_EQ(env.program().Major * 10000 + env.program().Minor * 100 + env.program().Revision, 40403);
  EXPECT_EQ(env.GetDriveTypeA("C:\\"), platform::DRIVE_FIXED);

  // Objects handed out stay usable after the environment moves.
  auto fso = env.CreateFileSystemObject();
  platform::Environment moved = std::move(env);
  EXPECT_TRUE(fso.FolderExists("c:\\quelis"));
  EXPECT_EQ(moved.files().Dir("C:\\QUELIS", platform::vbDirectory), "QUELIS");

  const double task = moved.Shell("notepad.exe C:\\QUELIS\\mon journal.log", platform::vbNormalFocus);
  moved.AppActivate(task);
  auto& launcher = dynamic_cast<platform::RecordingLauncher&>(moved.launcher());
  ASSERT_EQ(launcher.calls().size(), 1u);
  EXPECT_EQ(launcher.calls()[0].pathName, "notepad.exe C:\\QUELIS\\mon journal.log");
  EXPECT_EQ(launcher.calls()[0].windowStyle, 1);
  EXPECT_EQ(launcher.activated(), std::vector<double>{task});

  dynamic_cast<platform::FixedClock&>(moved.clock()).advanceSeconds(60);
  EXPECT_EQ(moved.Time(), "14:31:05");
}

TEST_F(EnvironmentTest, IniAndRegistryThroughTheEnvironment) {
  fs::create_directories(temp_.path() / "C" / "QUELIS");
  writeBytes(temp_.path() / "registry.reg",
             "REGEDIT4\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Ortavia]\r\n\"Donnees\"=\"G:\\\\Donnees\"\r\n");
  auto env = platform::Environment::ForTests(temp_.path(), {});
  EXPECT_EQ(env.CreateShell().RegRead("HKEY_LOCAL_MACHINE\\SOFTWARE\\Ortavia\\Donnees"), "G:\\Donnees");
  ASSERT_TRUE(env.WritePrivateProfileStringA("INIT", "Chemin donnees", "D:\\Quelis\\Donnees\\", "C:\\QUELIS\\Quelis.ini"));
  std::string buffer(150, ' ');
  const long n = env.GetPrivateProfileStringA("init", "CHEMIN DONNEES", "", buffer, 150, "c:\\quelis\\QUELIS.INI");
  EXPECT_EQ(buffer.substr(0, static_cast<std::size_t>(n)), "D:\\Quelis\\Donnees\\");
}

TEST_F(EnvironmentTest, RealRunEnvironmentUsesTheMachineClockAndADesktopLauncher) {
  auto env = platform::Environment::ForWorkstation(temp_.path(), {}, false);
  EXPECT_NE(dynamic_cast<platform::DesktopLauncher*>(&env.launcher()), nullptr);
  EXPECT_NE(dynamic_cast<platform::SystemClock*>(&env.clock()), nullptr);
  platform::Environment moved = std::move(env);
  EXPECT_GT(moved.Shell("notepad.exe C:\\QUELIS\\x.log", 1), 0);  // silent: nothing started
}

TEST(DesktopLauncherStart, SilentRunsStartNothingButStillAnswer) {
  TempFolder temp;
  platform::FolderWorkstation ws(temp.path());
  platform::DesktopLauncher launcher(ws, false);
  const double first = launcher.Shell("notepad.exe C:\\QUELIS\\x.log", 1);
  EXPECT_GT(first, 0);
  EXPECT_NO_THROW(launcher.AppActivate(first));
  EXPECT_VB_ERROR(launcher.AppActivate(first + 1), 5);
  EXPECT_VB_ERROR(launcher.Shell("   ", 1), 53);
}

TEST(ProgramEnding, EndThrowsWhatMainCatches) {
  EXPECT_THROW(platform::End(), platform::ProgramEnd);
  try {
    platform::End();
  } catch (const platform::Error&) {
    FAIL() << "an error trap must not catch the end of the program";
  } catch (const platform::ProgramEnd&) {
  }
}

}  // namespace
}  // namespace platform_test
