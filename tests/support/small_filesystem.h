// A 1 MB tmpfs on a folder of the test's own: a disk that fills up (or a read-only one) without
// touching the machine's. Mounting needs root; Why() says so.
#pragma once

#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <string>

#include "support/temp_folder.h"

namespace testing_support {

class SmallFileSystem {
 public:
  // `read_only`: mounted read-only, after `name` was written with `bytes` on it.
  explicit SmallFileSystem(bool read_only = false, const std::string& name = "",
                           const std::string& bytes = "") {
    if (::geteuid() != 0) {
      why_ = "mounting a 1 MB file system needs root";
      return;
    }
    if (::mount("tmpfs", dir_.Path().c_str(), "tmpfs", 0, "size=1m,mode=0777") != 0) {
      why_ = std::string("mount tmpfs: ") + std::strerror(errno);
      return;
    }
    mounted_ = true;
    if (!name.empty())
      sondara_test::WriteFile(*this / name, bytes);
    if (read_only &&
        ::mount(nullptr, dir_.Path().c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) != 0) {
      why_ = std::string("remount read-only: ") + std::strerror(errno);
    }
  }
  ~SmallFileSystem() {
    if (mounted_)
      ::umount2(dir_.Path().c_str(), MNT_DETACH);
  }
  SmallFileSystem(const SmallFileSystem&) = delete;
  SmallFileSystem& operator=(const SmallFileSystem&) = delete;

  const std::string& Why() const { return why_; }
  std::string operator/(const std::string& name) const { return dir_ / name; }

  // Takes every free byte with a file named "filler".
  void Fill() const {
    std::ofstream filler(*this / "filler", std::ios::binary);
    const std::string block(4096, 'f');
    while (filler.write(block.data(), static_cast<std::streamsize>(block.size())))
      filler.flush();
  }

 private:
  sondara_test::TempFolder dir_;
  bool mounted_ = false;
  std::string why_;
};

}  // namespace testing_support
