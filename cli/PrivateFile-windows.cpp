#include <windows.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "cli/PrivateFile.h"
#include "store/platform/Paths.h"
#include "store/platform/Random.h"
#include "store/platform/WideText.h"

// A file under %LOCALAPPDATA% is the user's alone by the profile's access
// rights, which every file made there inherits; those rights are Windows'
// own business, not checked here.
namespace xo::cli {

bool WritePrivateFile(const std::string& path, const std::string& text, std::string& problem) {
  const std::string dir = platform::ParentDirectory(path);
  if (!platform::MakeDirectories(dir)) {
    problem = "cannot create the directory " + dir;
    return false;
  }
  const std::wstring temporary = platform::Widen(path + ".new-" + platform::RandomHex(8));
  HANDLE file = CreateFileW(temporary.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                            FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    problem = "cannot create a file in " + dir;
    return false;
  }
  DWORD wrote = 0;
  const bool written =
      WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &wrote, nullptr) &&
      wrote == text.size() && FlushFileBuffers(file);
  CloseHandle(file);
  if (!written || !MoveFileExW(temporary.c_str(), platform::Widen(path).c_str(),
                               MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
    DeleteFileW(temporary.c_str());
    problem = "cannot write " + path;
    return false;
  }
  return true;
}

std::optional<std::string> ReadPrivateFile(const std::string& path, std::string& problem) {
  if (!platform::FileExists(path)) return std::nullopt;
  std::ifstream in(std::filesystem::path(platform::Widen(path)), std::ios::binary);
  if (!in) {
    problem = "cannot read " + path;
    return std::nullopt;
  }
  return std::string(std::istreambuf_iterator<char>(in), {});
}

void RemovePrivateFile(const std::string& path) { DeleteFileW(platform::Widen(path).c_str()); }

}  // namespace xo::cli
