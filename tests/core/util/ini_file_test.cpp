#include "util/ini_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <iterator>

#include "support/small_filesystem.h"
#include "support/temp_folder.h"
#include "util/file_replace.h"

namespace {

using tvkutil::CIniFile;

CIniFile Parsed(const std::string& bytes) {
  CIniFile ini;
  ini.Parse(bytes);
  return ini;
}

// What a user writes by hand, and what key "k" of section "S" must read as.
TEST(IniFileTest, ReadsHandWrittenFilesAsMeant) {
  const struct {
    const char* what;
    std::string file;
    const wchar_t* expected;  // nullptr: the key must be missing
  } cases[] = {
      {"blanks around everything", "  [ S ]  \n\t k \t=  v w  \n", L"v w"},
      {"names ignore case", "[s]\nK=v\n", L"v"},
      {"CR LF line ends, blank lines", "\r\n[S]\r\n\r\nj=w\r\nk=v\r\n", L"v"},
      {"UTF-8 byte-order mark and text", "\xEF\xBB\xBF[S]\nk=gr\xC3\xBC\xC3\x9F\n",
       L"gr\u00fc\u00df"},
      {"comments", "; top\n[S]\n# k=x\n;k=y\nk=v\n", L"v"},
      {"first duplicate key wins", "[S]\nk=first\nK=second\n", L"first"},
      {"repeated section is one", "[S]\na=1\n[T]\n[S]\nk=v\n", L"v"},
      {"quotes kept off, equals kept", "[S]\nk=\" v=w \"\n", L" v=w "},
      {"damaged lines are skipped", "[S\n\x01\x02junk\n=nokey\nk=v\n", L"v"},
      {"UTF-16LE without a mark", sondara_test::Utf16("; c\r\n[S]\r\nk=v\r\n"), L"v"},
      {"UTF-16BE without a mark", sondara_test::Utf16("[S]\nk=v", false), L"v"},
      {"UTF-16LE with a mark", "\xFF\xFE" + sondara_test::Utf16("[S]\nk=v"), L"v"},
      {"invalid UTF-8 is not text", "[S]\nk=\x80\x81ok\n", nullptr},
      {"key before any section", "k=v\n[S]\n", nullptr},
      {"line without equals", "[S]\nk\n", nullptr},
  };
  for (const auto& c : cases) {
    const CIniFile ini = Parsed(c.file);
    EXPECT_EQ(ini.HasKey(L"S", L"k"), c.expected != nullptr) << c.what;
    EXPECT_EQ(ini.GetString(L"S", L"k", L"dflt"), c.expected ? c.expected : L"dflt") << c.what;
    EXPECT_EQ(ini.NotText(), std::string_view(c.what).ends_with("not text")) << c.what;
  }
}

TEST(IniFileTest, ReadsIntegersLikeTheProfileFunctions) {
  const CIniFile ini = Parsed("[S]\nn=12abc\nneg=-5\nword=abc\nbig=99999999999\n");
  EXPECT_EQ((std::vector<int>{ini.GetInt(L"S", L"n", 77), ini.GetInt(L"S", L"neg", 77),
                              ini.GetInt(L"S", L"word", 77), ini.GetInt(L"S", L"gone", 77),
                              ini.GetInt(L"S", L"big", 77)}),
            (std::vector<int>{12, -5, 0, 77, INT32_MAX}));
}

TEST(IniFileTest, WritesInPlaceAndClearsSectionsKeepingWhatItDoesNotOwn) {
  CIniFile ini = Parsed(
      "; mine\n[A]\nx = 1 ; note\n\n[B]\ny=2\n[C]\nc0=1\n; stale\nc1=2\n\n; about D\n"
      "[D]\nd=1\n[c]\nc2=3\n");
  ini.WriteString(L"a", L"X", L"9");  // existing key, other spelling
  ini.WriteString(L"A", L"z", L"3");  // new key goes after the last key, before the blank
  ini.WriteString(L"B", L"lines", L"one\r\ntwo");  // a line break cannot live in a line
  ini.WriteString(L"B", L"pad", L" v ");           // blanks at the ends need quotes to stay
  ini.ClearSection(L"C");                          // the repeated section goes as well
  ini.WriteInt(L"C", L"n", -4);
  ini.ClearSection(L"Fresh");  // a missing section is created empty
  EXPECT_EQ(ini.Serialize(),
            "; mine\n[A]\nX=9\nz=3\n\n[B]\ny=2\nlines=one  two\npad=\" v \"\n"
            "[C]\nn=-4\n\n; about D\n[D]\nd=1\n\n[Fresh]\n");
}

// Runs `write` as user nobody when we are root (root may write any file), else as ourselves.
int ErrnoAsNobody(const std::function<std::error_code()>& write) {
  if (::geteuid() != 0)
    return write().value();
  const pid_t child = ::fork();
  if (child == 0) {
    if (::setgid(65534) != 0 || ::setuid(65534) != 0)
      ::_exit(255);
    ::_exit(write().value());
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// A save that cannot complete leaves the old file byte for byte and nothing beside it, and
// says why in the system's words (into a full disk: the log views' test, for every save).
TEST(IniFileTest, SaveThatFailsKeepsTheOldFileAndSaysWhy) {
  const std::string old_bytes = "[S]\nold=1\n";
  const auto replace = [](const std::string& path) {
    return tvkutil::ReplaceFile(path, std::string(4u << 20, 'x'));
  };
  {
    SCOPED_TRACE("read-only file system");
    testing_support::SmallFileSystem fs(true, "s.ini", old_bytes);
    if (!fs.Why().empty())
      GTEST_SKIP() << fs.Why();
    EXPECT_EQ(replace(fs / "s.ini"), std::errc::read_only_file_system);
    EXPECT_EQ(replace(fs / "new.ini"), std::errc::read_only_file_system);
    EXPECT_EQ(sondara_test::ReadFile(fs / "s.ini"), old_bytes);
  }
  sondara_test::TempFolder dir;
  {
    SCOPED_TRACE("a file the user may not write, in a folder he may");
    ::chmod(dir.Path().c_str(), 0777);
    sondara_test::WriteFile(dir / "s.ini", old_bytes);
    ::chmod((dir / "s.ini").c_str(), 0444);
    EXPECT_EQ(ErrnoAsNobody([&] { return replace(dir / "s.ini"); }), EACCES);
    EXPECT_EQ(sondara_test::ReadFile(dir / "s.ini"), old_bytes);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.Path()), {}), 1);
    ::chmod((dir / "s.ini").c_str(), 0644);
  }
  {
    SCOPED_TRACE("a settings file that is not text is never written");
    const std::string latin1 = "[S]\nname=M\xFCller\n";
    sondara_test::WriteFile(dir / "s.ini", latin1);
    CIniFile ini(dir / "s.ini");
    ASSERT_TRUE(ini.Load());
    ini.WriteString(L"S", L"k", L"v");
    EXPECT_EQ(ini.Save(), std::errc::illegal_byte_sequence);
    EXPECT_EQ(sondara_test::ReadFile(dir / "s.ini"), latin1);
  }
  {
    SCOPED_TRACE("a save through a symbolic link keeps the link and the file's mode");
    sondara_test::WriteFile(dir / "real.ini", old_bytes);
    ::chmod((dir / "real.ini").c_str(), 0600);
    std::filesystem::create_symlink("real.ini", dir / "link.ini");
    ASSERT_EQ(tvkutil::ReplaceFile(dir / "link.ini", "new"), std::error_code());
    EXPECT_TRUE(std::filesystem::is_symlink(dir / "link.ini"));
    EXPECT_EQ(sondara_test::ReadFile(dir / "real.ini"), "new");
    EXPECT_EQ(std::filesystem::status(dir / "real.ini").permissions(),
              std::filesystem::perms(0600));
  }
}

}  // namespace
