#include "util/ini_file.h"

#include <gtest/gtest.h>

#include "util/temp_folder.h"
#include "util/text.h"

namespace {

using tvkutil::CIniFile;

CIniFile Parsed(const std::string& bytes) {
  CIniFile ini;
  ini.Parse(bytes);
  return ini;
}

// What a user writes by hand, and what each key must read as.
TEST(IniFileTest, ReadsHandWrittenFilesAsMeant) {
  const struct {
    const char* what;
    std::string file;
    const wchar_t *section, *key;
    const wchar_t* expected;  // nullptr: the key must be missing
  } cases[] = {
      {"blanks around everything", "  [ S ]  \n\t k \t=  v w  \n", L"S", L"k", L"v w"},
      {"names ignore case", "[getset]\nIPHOST=h\n", L"GetSet", L"IPHost", L"h"},
      {"CR LF line ends", "[S]\r\nk=v\r\nj=w\r\n", L"S", L"j", L"w"},
      {"old Mac line ends", "[S]\rk=v\rj=w", L"S", L"j", L"w"},
      {"UTF-8 byte-order mark", "\xEF\xBB\xBF[S]\nk=v\n", L"S", L"k", L"v"},
      {"UTF-16LE with mark", std::string("\xFF\xFE[\0S\0]\0\n\0k\0=\0\xE9\0", 16), L"S", L"k",
       L"\u00e9"},
      {"UTF-8 text", "[S]\nk=gr\xC3\xBC\xC3\x9F\n", L"S", L"k", L"gr\u00fc\u00df"},
      {"comments", "; top\n[S]\n# k=x\n;k=y\nk=v\n", L"S", L"k", L"v"},
      {"blank lines", "\n\n[S]\n\n\nk=v\n\n", L"S", L"k", L"v"},
      {"first duplicate key wins", "[S]\nk=first\nK=second\n", L"S", L"k", L"first"},
      {"repeated section is one", "[S]\na=1\n[T]\n[S]\nb=2\n", L"S", L"b", L"2"},
      {"missing bracket", "[S\nk=v\n", L"S", L"k", L"v"},
      {"quotes kept off", "[S]\nk=\" v \"\n", L"S", L"k", L" v "},
      {"equals in value", "[S]\nk=a=b\n", L"S", L"k", L"a=b"},
      {"empty value", "[S]\nk=\n", L"S", L"k", L""},
      {"garbage line skipped", "[S]\n\x01\x02junk\nk=v\n=nokey\n", L"S", L"k", L"v"},
      {"zero byte ends a line", std::string("[S]\nj=1\0k=v\n", 12), L"S", L"k", L"v"},
      {"bad UTF-8 does not hide the key", "[S]\nx=\xFF\xFE\xC0\nk=v\n", L"S", L"k", L"v"},
      {"key before any section", "k=v\n[S]\n", L"S", L"k", nullptr},
      {"key in another section", "[T]\nk=v\n", L"S", L"k", nullptr},
      {"line without equals", "[S]\nk\n", L"S", L"k", nullptr},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const CIniFile ini = Parsed(c.file);
    if (c.expected == nullptr) {
      EXPECT_FALSE(ini.HasKey(c.section, c.key));
      EXPECT_EQ(ini.GetString(c.section, c.key, L"dflt"), L"dflt");
    } else {
      EXPECT_EQ(ini.GetString(c.section, c.key, L"dflt"), c.expected);
    }
  }
}

TEST(IniFileTest, CutsStringsAndReadsIntegersLikeTheProfileFunctions) {
  const CIniFile ini =
      Parsed("[S]\ns=abcdef\nn=12abc\nneg=-5\nword=abc\nempty=\nbig=99999999999\n");
  EXPECT_EQ(ini.GetString(L"S", L"s", L"", 4), L"abcd");
  EXPECT_EQ(ini.GetString(L"S", L"missing", L"default", 3), L"def");

  const std::pair<const wchar_t*, std::int32_t> ints[] = {
      {L"n", 12}, {L"neg", -5}, {L"word", 0}, {L"empty", 77}, {L"gone", 77}, {L"big", INT32_MAX}};
  for (const auto& [key, expected] : ints)
    EXPECT_EQ(ini.GetInt(L"S", key, 77), expected) << tvkutil::ToUtf8(key);
}

TEST(IniFileTest, WritesInPlaceAndKeepsWhatItDoesNotOwn) {
  CIniFile ini = Parsed("; my settings\n[A]\nx = 1 ; note\n\n[B]\ny=2\n");
  ini.WriteString(L"a", L"X", L"9");  // existing key, other spelling
  ini.WriteString(L"A", L"z", L"3");  // new key goes after the last key, before the blank
  ini.WriteInt(L"C", L"n", -4);       // new section at the end
  EXPECT_EQ(ini.Serialize(), "; my settings\n[A]\nX=9\nz=3\n\n[B]\ny=2\n\n[C]\nn=-4\n");
}

TEST(IniFileTest, ClearingASectionKeepsItsHeaderAndTheNextSectionsComments) {
  CIniFile ini = Parsed("[A]\na0=1\n; stale\na1=2\n\n; about B\n[B]\nb=1\n[a]\na2=3\n");
  ini.ClearSection(L"A");
  EXPECT_FALSE(ini.HasKey(L"A", L"a0"));
  EXPECT_FALSE(ini.HasKey(L"A", L"a2"));  // the repeated section went as well
  ini.WriteString(L"A", L"new", L"v");
  EXPECT_EQ(ini.Serialize(), "[A]\nnew=v\n\n; about B\n[B]\nb=1\n");

  ini.ClearSection(L"Fresh");  // a missing section is created empty
  EXPECT_EQ(ini.SectionNames(), (std::vector<std::wstring>{L"A", L"B", L"Fresh"}));
}

TEST(IniFileTest, ValuesReadBackExactly) {
  const std::wstring values[] = {
      L"",           L"plain",     L" lead",   L"trail ",
      L"\"quoted\"", L"a \"b\" c", L"x=y;z#w", L"\u00e9\u4e2d\U0001F600"};
  CIniFile ini;
  for (std::size_t i = 0; i < std::size(values); ++i) {
    ini.WriteString(L"S", L"k" + std::to_wstring(i), values[i]);
  }
  ini.WriteString(L"S", L"lines", L"one\r\ntwo");
  CIniFile again;
  again.Parse(ini.Serialize());
  for (std::size_t i = 0; i < std::size(values); ++i) {
    SCOPED_TRACE(tvkutil::ToUtf8(values[i]));
    EXPECT_EQ(again.GetString(L"S", L"k" + std::to_wstring(i), L"missing"), values[i]);
  }
  // A line break cannot live in a line; the rest of the file must not suffer from it.
  EXPECT_EQ(again.GetString(L"S", L"lines", L""), L"one  two");
}

TEST(IniFileTest, SavesAndLoadsFiles) {
  sondara_test::TempFolder dir;
  const std::string path = dir / "s.ini";
  EXPECT_FALSE(CIniFile(path).Load());

  CIniFile ini(path);
  ini.WriteString(L"S", L"k", L"v");
  ASSERT_TRUE(ini.Save());
  CIniFile loaded(path);
  ASSERT_TRUE(loaded.Load());
  EXPECT_EQ(loaded.GetString(L"S", L"k", L""), L"v");
  // No temporary file is left beside it.
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.Path()),
                          std::filesystem::directory_iterator()),
            1);

  CIniFile nowhere(dir / "no/such/folder/s.ini");
  nowhere.WriteString(L"S", L"k", L"v");
  EXPECT_FALSE(nowhere.Save());
}

}  // namespace
