#include "util/ini_file.h"

#include <gtest/gtest.h>

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
      {"damaged lines are skipped", "[S\n\x01\x02junk\nx=\xFF\xFE\xC0\n=nokey\nk=v\n", L"v"},
      {"bad UTF-8 is replaced", "[S]\nk=\x80\x81ok\n", L"\ufffd\ufffdok"},
      {"key before any section", "k=v\n[S]\n", nullptr},
      {"line without equals", "[S]\nk\n", nullptr},
  };
  for (const auto& c : cases) {
    const CIniFile ini = Parsed(c.file);
    EXPECT_EQ(ini.HasKey(L"S", L"k"), c.expected != nullptr) << c.what;
    EXPECT_EQ(ini.GetString(L"S", L"k", L"dflt"), c.expected ? c.expected : L"dflt") << c.what;
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

}  // namespace
