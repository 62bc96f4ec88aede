#include "mib/mib_cache.h"
#include "mib/mib_set.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <tuple>
#include <vector>

#include "support/temp_folder.h"

namespace {

// One readable module and one whose import is missing: the nodes, modules and problems all go
// through the cache.
const char kState[] = R"(STATE-MIB DEFINITIONS ::= BEGIN
IMPORTS MODULE-IDENTITY, OBJECT-TYPE, Integer32, enterprises FROM SNMPv2-SMI;
st MODULE-IDENTITY LAST-UPDATED "202401010000Z" ORGANIZATION "T" CONTACT-INFO "t"
    DESCRIPTION "Kept." ::= { enterprises 99990 }
stEntry OBJECT-TYPE SYNTAX StEntry MAX-ACCESS not-accessible STATUS current
    DESCRIPTION "Row." INDEX { stIndex } ::= { st 1 }
StEntry ::= SEQUENCE { stIndex Integer32, stState INTEGER }
stIndex OBJECT-TYPE SYNTAX Integer32 (1..9) MAX-ACCESS not-accessible STATUS current
    DESCRIPTION "Index." ::= { stEntry 1 }
stState OBJECT-TYPE SYNTAX INTEGER { up(1), down(2) } UNITS "state" MAX-ACCESS read-only
    STATUS current DESCRIPTION "State." ::= { stEntry 2 }
END
)";

const char kLost[] = R"(LOST-MIB DEFINITIONS ::= BEGIN
IMPORTS OBJECT-TYPE, enterprises FROM SNMPv2-SMI FrobCount FROM FROB-MIB;
lostFrobs OBJECT-TYPE SYNTAX FrobCount MAX-ACCESS read-only STATUS current
    DESCRIPTION "Needs FROB-MIB." ::= { enterprises 99991 }
END
)";

std::string StateLabel(const mib::SmiLoadResult& read) {
  for (const mib::MibNode& node : read.nodes) {
    if (node.name == "stState" && node.enums.size() == 2)
      return node.enums[1].second;
  }
  return "(none)";
}

void SetTime(const std::string& file, long seconds) {
  const timespec times[2] = {{seconds, 0}, {seconds, 0}};
  ASSERT_EQ(::utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
}

// The cache gives what the folders gave, field for field, while no file's size or time changed,
// and reads them again as soon as one did or the cache itself is damaged.
TEST(MibCache, GivesWhatTheFoldersGaveUntilAFileChanges) {
  sondara_test::TempFolder dir;
  const std::string folder = dir / "mibs";
  std::filesystem::create_directory(folder);
  const std::string state = folder + "/state.my";
  sondara_test::WriteFile(state, kState);
  sondara_test::WriteFile(folder + "/lost.txt", kLost);
  SetTime(state, 1700000000);
  mib::SmiLoadRequest request;
  request.folders = {folder};
  request.base_folder = mib::BaseMibFolder();
  const std::string cache_folder = dir / "cache";

  const mib::SmiLoadResult fresh = mib::LoadMibModules(request);
  ASSERT_FALSE(fresh.nodes.empty());
  ASSERT_FALSE(fresh.problems.empty());
  for (int pass = 0; pass < 2; ++pass) {  // written, then read back
    const mib::SmiLoadResult cached = mib::LoadMibModulesCached(request, cache_folder);
    EXPECT_EQ(cached.nodes, fresh.nodes) << pass;
    EXPECT_EQ(cached.modules, fresh.modules) << pass;
    EXPECT_EQ(cached.problems, fresh.problems) << pass;
  }

  // Same size, same time: the cache answers, so the old label shows.
  std::string changed = kState;
  changed.replace(changed.find("down(2)"), 7, "dawn(2)");
  sondara_test::WriteFile(state, changed);
  SetTime(state, 1700000000);
  EXPECT_EQ(StateLabel(mib::LoadMibModulesCached(request, cache_folder)), "down");
  SetTime(state, 1700000001);
  EXPECT_EQ(StateLabel(mib::LoadMibModulesCached(request, cache_folder)), "dawn");

  // A cache cut short is read as none, and written anew.
  ASSERT_EQ(std::distance(std::filesystem::directory_iterator(cache_folder), {}), 1);
  const std::string cache = std::filesystem::directory_iterator(cache_folder)->path();
  const std::string whole = sondara_test::ReadFile(cache);
  sondara_test::WriteFile(cache, whole.substr(0, whole.size() / 2));
  EXPECT_EQ(StateLabel(mib::LoadMibModulesCached(request, cache_folder)), "dawn");
  EXPECT_EQ(sondara_test::ReadFile(cache), whole);
}

}  // namespace

namespace {

// The table's index is checked against the table before any of it is used: a damaged or stale
// one gives no names rather than wrong ones or a crash.
TEST(MibTable, ADamagedIndexGivesNoTable) {
  const std::string built = SONDARA_MIB_TABLE_DIR;
  const std::string tab = sondara_test::ReadFile(built + "builtin.tab");
  const std::string idx = sondara_test::ReadFile(built + "builtin.idx");
  ASSERT_GT(idx.size(), 40u);
  std::string wide_row = idx;
  wide_row[20 + 7] = '\x7f';  // the first row's line runs far past the table
  for (const auto& [what, tab_bytes, idx_bytes, loads] :
       std::vector<std::tuple<const char*, std::string, std::string, bool>>{
           {"intact", tab, idx, true},
           {"cut short", tab, idx.substr(0, idx.size() - 4), false},
           {"stale", tab + "\n", idx, false},
           {"row past the table", tab, wide_row, false},
           {"no index", tab, "", false}}) {
    sondara_test::TempFolder dir;
    sondara_test::WriteFile(dir / "builtin.tab", tab_bytes);
    if (!idx_bytes.empty())
      sondara_test::WriteFile(dir / "builtin.idx", idx_bytes);
    mib::CMibSet set;
    EXPECT_EQ(set.LoadTable(dir.Path() + "/"), loads) << what;
    EXPECT_EQ(set.NameOf(std::vector<std::uint32_t>{1, 3, 6, 1, 2, 1, 1, 1, 0}),
              loads ? "SNMPv2-MIB::sysDescr.0" : "")
        << what;
  }
}

}  // namespace
