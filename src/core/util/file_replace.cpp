#include "util/file_replace.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "util/text.h"

namespace tvkutil {

namespace {

std::error_code LastError() {
  return {errno, std::generic_category()};
}

}  // namespace

std::error_code CReplacingFile::Open(const std::filesystem::path& target) {
  namespace fs = std::filesystem;
  Abandon();
  error_.clear();
  std::error_code ec;
  // Write through a symbolic link rather than replace it with a plain file.
  fs::path resolved = target;
  if (fs::is_symlink(fs::symlink_status(target, ec))) {
    const fs::path canonical = fs::weakly_canonical(target, ec);
    if (!ec)
      resolved = canonical;
  }
  target_ = resolved.string();
  struct stat old_stat {};
  const bool exists = ::stat(target_.c_str(), &old_stat) == 0;
  if (exists && !S_ISREG(old_stat.st_mode)) {
    fd_ = ::open(target_.c_str(), O_WRONLY | O_CLOEXEC);
    if (fd_ < 0)
      return LastError();
    direct_ = true;
    return {};
  }
  // A file the user may not write stays his, even where the folder would let us replace it.
  if (exists && ::faccessat(AT_FDCWD, target_.c_str(), W_OK, AT_EACCESS) != 0)
    return LastError();
  temp_ = target_ + ".XXXXXX";
  fd_ = ::mkostemp(temp_.data(), O_CLOEXEC);
  if (fd_ < 0) {
    const std::error_code reason = LastError();
    temp_.clear();
    return reason;
  }
  if (exists) {
    // The replacement keeps the old file's owner (when we may set it) and mode.
    [[maybe_unused]] const int owned = ::fchown(fd_, old_stat.st_uid, old_stat.st_gid);
    ::fchmod(fd_, old_stat.st_mode & 07777);
  } else {
    ::fchmod(fd_, 0644);
  }
  return {};
}

void CReplacingFile::Write(std::string_view bytes) {
  if (fd_ < 0 || error_)
    return;
  while (!bytes.empty()) {
    const ssize_t n = ::write(fd_, bytes.data(), bytes.size());
    if (n < 0 && errno == EINTR)
      continue;
    if (n <= 0) {
      // A write that takes nothing without an error has run out of room.
      error_ = n < 0 ? LastError() : std::error_code(ENOSPC, std::generic_category());
      return;
    }
    bytes.remove_prefix(static_cast<std::size_t>(n));
  }
}

std::error_code CReplacingFile::Commit() {
  if (fd_ < 0)
    return error_ ? error_ : std::error_code(EBADF, std::generic_category());
  // A device or a pipe cannot be synced; a regular file must be on disk before the rename.
  if (!error_ && !direct_ && ::fsync(fd_) != 0)
    error_ = LastError();
  if (::close(fd_) != 0 && !error_)
    error_ = LastError();
  fd_ = -1;
  if (direct_) {
    direct_ = false;
    return error_;
  }
  if (!error_ && std::rename(temp_.c_str(), target_.c_str()) != 0)
    error_ = LastError();
  if (error_) {
    ::unlink(temp_.c_str());
  } else {
    // The rename itself reaches the disk with the folder.
    const std::string folder = std::filesystem::path(target_).parent_path().string();
    const int dir = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_CLOEXEC);
    if (dir >= 0) {
      ::fsync(dir);
      ::close(dir);
    }
  }
  temp_.clear();
  return error_;
}

void CReplacingFile::Abandon() {
  if (fd_ >= 0)
    ::close(fd_);
  fd_ = -1;
  if (!temp_.empty())
    ::unlink(temp_.c_str());
  temp_.clear();
  direct_ = false;
}

std::error_code ReplaceFile(const std::filesystem::path& target, std::string_view bytes) {
  CReplacingFile file;
  if (const std::error_code ec = file.Open(target))
    return ec;
  file.Write(bytes);
  return file.Commit();
}

std::wstring WithReason(std::wstring_view message, const std::error_code& reason) {
  std::wstring text(message);
  if (reason)
    text.append(L"\n").append(FromUtf8Lenient(reason.message()));
  return text;
}

}  // namespace tvkutil
