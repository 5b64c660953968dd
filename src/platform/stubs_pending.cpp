// Temporary bodies while the platform layer is being written: every call fails loudly.
#include <stdexcept>

#include "platform/codepage.h"
#include "platform/clock.h"
#include "platform/environment.h"
#include "platform/error.h"
#include "platform/filelock.h"
#include "platform/fso.h"
#include "platform/profile.h"
#include "platform/registry.h"
#include "platform/textstream.h"
#include "platform/vbfiles.h"
#include "platform/vbstring.h"
#include "platform/winpath.h"
#include "platform/workstation.h"
#include "jet/error.h"

namespace platform {
namespace {
[[noreturn]] void notYet(const char* what) {
  throw std::logic_error(std::string("platform: not yet implemented: ") + what);
}
}  // namespace

Error::Error(ErrorCode code) : std::runtime_error("x"), number_(static_cast<int>(code)) { notYet("Error"); }
Error::Error(std::int32_t number, std::string description)
    : std::runtime_error(description), number_(number), description_(std::move(description)) {}
std::string describe(std::int32_t) { notYet("describe"); }
Error applicationError(std::int32_t, std::string) { notYet("applicationError"); }
Error fromJet(const jet::Error&) { notYet("fromJet"); }
Error currentError() { notYet("currentError"); }
std::int32_t displayedNumber(std::int32_t) { notYet("displayedNumber"); }

std::string UCase(std::string_view) { notYet("UCase"); }
std::string LCase(std::string_view) { notYet("LCase"); }
std::size_t Len(std::string_view) { notYet("Len"); }
std::string Left(std::string_view, std::size_t) { notYet("Left"); }
std::string Right(std::string_view, std::size_t) { notYet("Right"); }
std::string Mid(std::string_view, std::size_t) { notYet("Mid"); }
std::string Mid(std::string_view, std::size_t, std::size_t) { notYet("Mid"); }
std::string Trim(std::string_view) { notYet("Trim"); }
std::string LTrim(std::string_view) { notYet("LTrim"); }
std::string RTrim(std::string_view) { notYet("RTrim"); }
std::string Replace(std::string_view, std::string_view, std::string_view, CompareMethod) { notYet("Replace"); }
std::size_t InStr(std::size_t, std::string_view, std::string_view, CompareMethod) { notYet("InStr"); }
bool EqualsNoCase(std::string_view, std::string_view) { notYet("EqualsNoCase"); }
int CompareNtfsOrder(std::string_view, std::string_view) { notYet("CompareNtfsOrder"); }

std::string Utf8ToCp1252(std::string_view) { notYet("Utf8ToCp1252"); }
std::string Cp1252ToUtf8(std::string_view) { notYet("Cp1252ToUtf8"); }
std::string Utf16LeToUtf8(std::string_view) { notYet("Utf16LeToUtf8"); }
std::string Utf8ToUtf16Le(std::string_view) { notYet("Utf8ToUtf16Le"); }

std::string WinPath::rootText() const { notYet("WinPath"); }
std::string WinPath::text() const { notYet("WinPath"); }
std::string WinPath::name() const { notYet("WinPath"); }
WinPath WinPath::parent() const { notYet("WinPath"); }
std::optional<WinPath> ParseWinPath(std::string_view, bool) { notYet("ParseWinPath"); }
bool MatchesWildcard(std::string_view, std::string_view) { notYet("MatchesWildcard"); }
bool HasWildcard(std::string_view) { notYet("HasWildcard"); }

bool ResolvedPath::exists() const { notYet("ResolvedPath"); }
bool ResolvedPath::isFile() const { notYet("ResolvedPath"); }
bool ResolvedPath::isFolder() const { notYet("ResolvedPath"); }
Workstation::Workstation(std::filesystem::path root) : root_(std::move(root)) {}
ResolvedPath Workstation::resolve(std::string_view, bool) const { notYet("resolve"); }
std::filesystem::path Workstation::driveFolder(char) const { notYet("driveFolder"); }
std::filesystem::path Workstation::shareFolder(std::string_view, std::string_view) const { notYet("shareFolder"); }
unsigned Workstation::GetDriveTypeA(std::string_view) const { notYet("GetDriveTypeA"); }
long Workstation::GetPrivateProfileStringA(std::string_view, std::string_view, std::string_view,
                                           std::string&, long, std::string_view) const {
  notYet("GetPrivateProfileStringA");
}
bool Workstation::WritePrivateProfileStringA(std::string_view, std::string_view, std::string_view,
                                             std::string_view) const {
  notYet("WritePrivateProfileStringA");
}

long ReadProfileString(const std::filesystem::path&, std::string_view, std::string_view, std::string_view,
                       std::string&, long) { notYet("ReadProfileString"); }
bool WriteProfileString(const std::filesystem::path&, std::string_view, std::string_view, std::string_view) {
  notYet("WriteProfileString");
}

Registry Registry::Parse(std::string_view) { notYet("Registry::Parse"); }
Registry Registry::Load(const std::filesystem::path&) { notYet("Registry::Load"); }
std::optional<RegistryValue> Registry::value(std::string_view, std::string_view) const { notYet("Registry::value"); }
bool Registry::hasKey(std::string_view) const { notYet("Registry::hasKey"); }
std::string RegRead(const Registry&, std::string_view) { notYet("RegRead"); }

TextStream::TextStream(const std::filesystem::path&, IOMode, bool) { notYet("TextStream"); }
TextStream::TextStream(TextStream&&) noexcept {}
TextStream& TextStream::operator=(TextStream&&) noexcept { return *this; }
TextStream::~TextStream() = default;
void TextStream::Write(std::string_view) { notYet("Write"); }
void TextStream::WriteLine(std::string_view) { notYet("WriteLine"); }
void TextStream::WriteBlankLines(int) { notYet("WriteBlankLines"); }
std::string TextStream::ReadLine() { notYet("ReadLine"); }
std::string TextStream::ReadAll() { notYet("ReadAll"); }
bool TextStream::AtEndOfStream() const { notYet("AtEndOfStream"); }
void TextStream::Close() { notYet("Close"); }

File::File(const Workstation& w, std::string p) : workstation_(&w), path_(std::move(p)) {}
std::string File::Name() const { notYet("File"); }
std::uintmax_t File::Size() const { notYet("File"); }
std::string File::ParentFolderPath() const { notYet("File"); }
void File::Copy(std::string_view, bool) const { notYet("File"); }
void File::Move(std::string_view) { notYet("File"); }
void File::Delete(bool) const { notYet("File"); }
Folder::Folder(const Workstation& w, std::string p) : workstation_(&w), path_(std::move(p)) {}
std::string Folder::Name() const { notYet("Folder"); }
bool Folder::IsRootFolder() const { notYet("Folder"); }
std::vector<Folder> Folder::SubFolders() const { notYet("Folder"); }
std::vector<File> Folder::Files() const { notYet("Folder"); }
bool FileSystemObject::FileExists(std::string_view) const { notYet("FSO"); }
bool FileSystemObject::FolderExists(std::string_view) const { notYet("FSO"); }
bool FileSystemObject::DriveExists(std::string_view) const { notYet("FSO"); }
File FileSystemObject::GetFile(std::string_view) const { notYet("FSO"); }
Folder FileSystemObject::GetFolder(std::string_view) const { notYet("FSO"); }
Folder FileSystemObject::CreateFolder(std::string_view) const { notYet("FSO"); }
void FileSystemObject::CopyFile(std::string_view, std::string_view, bool) const { notYet("FSO"); }
void FileSystemObject::MoveFile(std::string_view, std::string_view) const { notYet("FSO"); }
void FileSystemObject::DeleteFile(std::string_view, bool) const { notYet("FSO"); }
void FileSystemObject::CopyFolder(std::string_view, std::string_view, bool) const { notYet("FSO"); }
void FileSystemObject::MoveFolder(std::string_view, std::string_view) const { notYet("FSO"); }
void FileSystemObject::DeleteFolder(std::string_view, bool) const { notYet("FSO"); }
TextStream FileSystemObject::CreateTextFile(std::string_view, bool, bool) const { notYet("FSO"); }
TextStream FileSystemObject::OpenTextFile(std::string_view, IOMode, bool) const { notYet("FSO"); }
std::string FileSystemObject::BuildPath(std::string_view, std::string_view) const { notYet("FSO"); }
std::string FileSystemObject::GetFileName(std::string_view) const { notYet("FSO"); }
std::string FileSystemObject::GetParentFolderName(std::string_view) const { notYet("FSO"); }

std::string VbFiles::Dir(std::string_view, int) { notYet("Dir"); }
std::string VbFiles::Dir() { notYet("Dir"); }
void VbFiles::Kill(std::string_view) const { notYet("Kill"); }
void VbFiles::Name(std::string_view, std::string_view) const { notYet("Name"); }
void VbFiles::FileCopy(std::string_view, std::string_view) const { notYet("FileCopy"); }
void VbFiles::MkDir(std::string_view) const { notYet("MkDir"); }
void VbFiles::RmDir(std::string_view) const { notYet("RmDir"); }
std::int64_t VbFiles::FileLen(std::string_view) const { notYet("FileLen"); }

bool IsLockedByAnother(const std::filesystem::path&) { notYet("IsLockedByAnother"); }
FileLockHolder::FileLockHolder(const std::filesystem::path&) { notYet("FileLockHolder"); }
FileLockHolder::FileLockHolder(FileLockHolder&&) noexcept {}
FileLockHolder& FileLockHolder::operator=(FileLockHolder&&) noexcept { return *this; }
FileLockHolder::~FileLockHolder() = default;
void FileLockHolder::release() {}

DateTime SystemClock::Now() const { notYet("SystemClock"); }
void FixedClock::advanceSeconds(long) { notYet("FixedClock"); }
std::string Format(const DateTime&, std::string_view) { notYet("Format"); }
std::string DateText(const DateTime&) { notYet("DateText"); }
std::string TimeText(const DateTime&) { notYet("TimeText"); }

void End() { throw ProgramEnd(); }
double RecordingLauncher::Shell(std::string_view, int) { notYet("Shell"); }
void RecordingLauncher::AppActivate(double) { notYet("AppActivate"); }
DesktopLauncher::DesktopLauncher(const Workstation& w, bool i) : workstation_(&w), interactive_(i) {}
double DesktopLauncher::Shell(std::string_view, int) { notYet("Shell"); }
void DesktopLauncher::AppActivate(double) { notYet("AppActivate"); }

std::string WScriptShell::RegRead(std::string_view) const { notYet("RegRead"); }
Environment::Environment(std::filesystem::path root, std::shared_ptr<Clock> clock, ProgramInfo program,
                         std::shared_ptr<ProcessLauncher> launcher)
    : workstation_(std::make_unique<Workstation>(std::move(root))),
      clock_(std::move(clock)),
      program_(std::move(program)),
      launcher_(std::move(launcher)),
      files_(*workstation_) {}
Environment Environment::ForTests(std::filesystem::path, DateTime, ProgramInfo) { notYet("ForTests"); }

}  // namespace platform
