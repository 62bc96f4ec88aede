// Fuzz target: a settings file edited by hand. The reader takes any bytes; what it makes of them
// is written so that it reads back the same (every key of every section, and the written text
// itself). The corpus replay also checks that the pages' settings loaded from each saved input
// and saved settle: at a few hundred inputs a second that check would starve the fuzzer.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "settings/sondara_utility_app.h"
#include "util/ini_file.h"

namespace {

void CheckReader(std::string_view bytes) {
  tvkutil::CIniFile first;
  first.Parse(bytes);
  const std::string written = first.Serialize();
  tvkutil::CIniFile second;
  second.Parse(written);
  if (second.Serialize() != written)
    std::abort();
  const auto sections = first.SectionNames();
  if (second.SectionNames() != sections)
    std::abort();
  for (const std::wstring& section : sections) {
    const auto keys = first.KeyNames(section);
    if (second.KeyNames(section) != keys)
      std::abort();
    for (const std::wstring& key : keys) {
      if (second.GetString(section, key, L"\x1F") != first.GetString(section, key, L"\x1F"))
        std::abort();
    }
  }
}

#ifdef SONDARA_FUZZ_CORPUS
// In memory: the pages' settings loaded from the file and saved into it, as a start and an exit
// would do, without the cost of writing a real file at every input.
void CheckPageSettings(std::string_view bytes) {
  // Two rounds, not one: a trap binding whose value text its type cannot hold (an IPAddress of
  // ".0.211.3") loads, saves with an empty value, and the next load ends the list there.
  std::string saved[3];
  std::string_view in = bytes;
  for (std::string& s : saved) {
    tvkutil::CIniFile ini;
    ini.Parse(in);
    app::CSondaraUtilityApp app("", "");
    app.LoadPageSettings(ini);
    app.SavePageSettings(ini);
    s = ini.Serialize();
    in = s;
  }
  if (saved[1] != saved[2])
    std::abort();
}
#endif

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  CheckReader(bytes);
#ifdef SONDARA_FUZZ_CORPUS
  CheckPageSettings(bytes);
#endif
  return 0;
}
