// Every file the program writes is replaced in one step: the bytes go to a temporary file beside
// the target (same folder, so the rename is atomic), which is flushed to disk and renamed over
// the target only when it is complete. A full disk, a read-only folder or a crash in the middle
// therefore leave the old file as it was and no partial file behind, and the caller learns the
// system's reason (errno) to show to the user.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

namespace tvkutil {

// A file written piece by piece (a log growing during a walk) and put in place at the end.
class CReplacingFile {
 public:
  CReplacingFile() = default;
  CReplacingFile(const CReplacingFile&) = delete;
  CReplacingFile& operator=(const CReplacingFile&) = delete;
  ~CReplacingFile() { Abandon(); }

  // Creates the temporary file beside `target` (beside the file a symbolic link points to).
  // Refused with the reason when the target exists but may not be written, or the folder
  // takes no new file. A target that is not a regular file (a terminal, /dev/null, a pipe) is
  // written directly: there is nothing to rename over it.
  [[nodiscard]] std::error_code Open(const std::filesystem::path& target);
  bool IsOpen() const { return fd_ >= 0; }
  // The temporary file's path while there is one (empty when writing the target directly).
  const std::string& TempPath() const { return temp_; }

  // Appends bytes. The first failure is kept (later writes do nothing) and given by Commit().
  void Write(std::string_view bytes);

  // Flushes the file to disk and renames it over the target. On any failure, now or in an
  // earlier Write(), the temporary file is removed, the target is left as it was, and the
  // reason is returned.
  [[nodiscard]] std::error_code Commit();

  // Removes the temporary file; the target stays as it was.
  void Abandon();

 private:
  int fd_ = -1;
  bool direct_ = false;  // writing into the target itself
  std::string target_;
  std::string temp_;
  std::error_code error_;
};

// Replaces the file with `bytes` as described above.
[[nodiscard]] std::error_code ReplaceFile(const std::filesystem::path& target,
                                          std::string_view bytes);

// A message with the system's reason for a failed save after it, on a line of its own.
std::wstring WithReason(std::wstring_view message, const std::error_code& reason);

}  // namespace tvkutil
