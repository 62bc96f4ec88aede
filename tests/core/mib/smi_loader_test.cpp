#include "mib/smi_loader.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <latch>
#include <map>
#include <string>
#include <thread>

#include "mib/mib_cache.h"
#include "support/temp_folder.h"

namespace {

namespace fs = std::filesystem;

// One line per node: what a wrong type chain, kind, access or index would change.
std::string Describe(const mib::MibNode& n) {
  std::string oid;
  for (std::uint32_t sub : n.oid)
    oid.append(oid.empty() ? "" : ".").append(std::to_string(sub));
  std::string enums;
  for (const auto& [value, label] : n.enums)
    enums += (enums.empty() ? "" : ",") + label + "(" + std::to_string(value) + ")";
  std::string index;
  for (const std::string& i : n.index)
    index += (index.empty() ? "" : ",") + i;
  return oid + " " + mib::KindName(n.kind) + " [" + n.syntax + "|" + n.type_name + "|" +
         n.display_hint + "|" + enums + "] " + n.access + " " + n.status + " " + n.units + " " +
         index + n.augments;
}

class MibFolder : public ::testing::Test {
 protected:
  std::string Write(const std::string& name, const std::string& bytes) {
    sondara_test::WriteFile(dir_ / name, bytes);
    return dir_ / name;
  }
  sondara_test::TempFolder dir_;
};

const char kAcme[] = R"(-- ACME agent, release 2; saved under the vendor's own file name
ACME-MIB DEFINITIONS ::= BEGIN
IMPORTS
    MODULE-IDENTITY, OBJECT-TYPE, Integer32, Counter32, enterprises FROM SNMPv2-SMI
    DisplayString, RowStatus FROM SNMPv2-TC;
acme MODULE-IDENTITY
    LAST-UPDATED "202401010000Z" ORGANIZATION "ACME" CONTACT-INFO "noc"
    DESCRIPTION "ACME-EXT-MIB DEFINITIONS ::= BEGIN in a string is no header."
    REVISION "202401010000Z" DESCRIPTION "First."
    ::= { enterprises 99999 }
acmeName OBJECT-TYPE SYNTAX DisplayString (SIZE (0..32)) MAX-ACCESS read-only
    STATUS current DESCRIPTION "Name." ::= { acme 1 }
acmePortTable OBJECT-TYPE SYNTAX SEQUENCE OF AcmePortEntry MAX-ACCESS not-accessible
    STATUS current DESCRIPTION "Ports." ::= { acme 2 }
acmePortEntry OBJECT-TYPE SYNTAX AcmePortEntry MAX-ACCESS not-accessible
    STATUS current DESCRIPTION "A port." INDEX { acmePortIndex } ::= { acmePortTable 1 }
AcmePortEntry ::= SEQUENCE { acmePortIndex Integer32, acmePortState INTEGER,
    acmePortRx Counter32, acmePortRowStatus RowStatus }
acmePortIndex OBJECT-TYPE SYNTAX Integer32 (1..64) MAX-ACCESS not-accessible
    STATUS current DESCRIPTION "Port number." ::= { acmePortEntry 1 }
acmePortState OBJECT-TYPE SYNTAX INTEGER { up(1), down(2) } MAX-ACCESS read-only
    STATUS deprecated DESCRIPTION "State." ::= { acmePortEntry 2 }
acmePortRx OBJECT-TYPE SYNTAX Counter32 UNITS "packets" MAX-ACCESS read-only
    STATUS current DESCRIPTION "Received." ::= { acmePortEntry 3 }
acmePortRowStatus OBJECT-TYPE SYNTAX RowStatus MAX-ACCESS read-create
    STATUS current DESCRIPTION "Row." ::= { acmePortEntry 4 }
END
)";

// Imports from ACME-MIB by its declared name, which no file is called.
const char kAcmeExt[] = R"(-- split out of ACME-MIB DEFINITIONS ::= BEGIN
ACME-EXT-MIB DEFINITIONS ::= BEGIN
IMPORTS OBJECT-TYPE, TimeTicks FROM SNMPv2-SMI acme FROM ACME-MIB;
acmeUptime OBJECT-TYPE SYNTAX TimeTicks MAX-ACCESS read-only STATUS current
    DESCRIPTION "Up." ::= { acme 10 }
END
)";

const char kMissingImport[] = R"(LOST-MIB DEFINITIONS ::= BEGIN
IMPORTS OBJECT-TYPE, enterprises, Integer32 FROM SNMPv2-SMI
    frobRoot, FrobCount FROM FROB-MIB;
lost OBJECT IDENTIFIER ::= { enterprises 99998 }
lostValue OBJECT-TYPE SYNTAX Integer32 MAX-ACCESS read-only STATUS current
    DESCRIPTION "Still readable." ::= { lost 1 }
lostFrobs OBJECT-TYPE SYNTAX FrobCount MAX-ACCESS read-only STATUS current
    DESCRIPTION "Needs FROB-MIB." ::= { frobRoot 1 }
END
)";

// SMIv1 through the base modules of RFC 1155, 1212, 1215, 1213; imports LOST-MIB, sorted after.
const char kOldStyle[] = R"(OLD-MIB DEFINITIONS ::= BEGIN
IMPORTS Counter, enterprises FROM RFC1155-SMI OBJECT-TYPE FROM RFC-1212
    TRAP-TYPE FROM RFC-1215 DisplayString FROM RFC1213-MIB lost FROM LOST-MIB;
old OBJECT IDENTIFIER ::= { enterprises 99996 }
oldName OBJECT-TYPE SYNTAX DisplayString ACCESS read-only STATUS mandatory
    DESCRIPTION "Name." ::= { old 1 }
oldDrops OBJECT-TYPE SYNTAX Counter ACCESS read-only STATUS optional
    DESCRIPTION "Drops." ::= { lost 2 }
oldFault TRAP-TYPE ENTERPRISE old VARIABLES { oldName } DESCRIPTION "Fault." ::= 3
END
)";

const char kSyntaxError[] = R"(BROKEN-MIB DEFINITIONS ::= BEGIN
IMPORTS OBJECT-TYPE, enterprises, Integer32 FROM SNMPv2-SMI;
broken OBJECT IDENTIFIER ::= { enterprises 99997 }
brokenValue OBJECT-TYPE SYNTAX Integer32 MAX-ACCESS read-only STATUS current
    DESCRIPTION "Missing its brace." ::= { broken 1
brokenOther OBJECT-TYPE SYNTAX Integer32 MAX-ACCESS read-only STATUS current
    DESCRIPTION "x" ::= { broken 2 }
END
)";

// Each file's problem names the file, the line and the cause; every readable module still
// gives its nodes, with types resolved through the program's own base modules.
TEST_F(MibFolder, LoadsByDeclaredNameAndNamesEachFailure) {
  const std::string acme = Write("acme_v2.my", kAcme);
  Write("ext.txt", kAcmeExt);
  Write("a_old.mib", std::string("\xef\xbb\xbf") + kOldStyle);  // as Windows editors save it
  const std::string lost = Write("lost.mib", kMissingImport);
  const std::string broken = Write("broken.mib", kSyntaxError);
  const std::string dup = Write("dup.txt", "\nACME-MIB DEFINITIONS ::= BEGIN\nEND\n");
  const std::string pdf = Write("manual.pdf", "%PDF-1.4\n%\xe2\xe3\xcf\xd3\n1 0 obj\n");
  const std::string html =
      Write("ACME-MIB.html", "\n<!DOCTYPE html>\n<html><pre>X-MIB DEFINITIONS ::= BEGIN");
  const std::string utf16 = Write("utf16.mib", std::string("U\0-\0M\0I\0B\0 \0D\0E\0F\0S\0", 20));
  const std::string zip = Write("mibs.zip", std::string("PK\x03\x04\x14\0\0\0", 8));
  const std::string notes = Write("notes.txt", "Which MIBs go where.\n");

  const mib::SmiLoadResult r = mib::LoadMibModules({{dir_.Path()}, {}, mib::BaseMibFolder()});

  const struct {
    std::string file;
    int line;
    std::string cause;
  } kProblems[] = {
      {broken, 6, "syntax error"},
      {dup, 2, "module 'ACME-MIB' is declared again; the one in " + acme + " is used"},
      {lost, 3, "module 'FROB-MIB' not found; needed for frobRoot, FrobCount"},
      {pdf, 0, "not a MIB module: a PDF document"},
      {html, 0, "not a MIB module: an HTML page"},
      {utf16, 0, "not a MIB module: UTF-16 text"},
      {zip, 0, "not a MIB module: a zip archive"},
      {notes, 0, "not a MIB module: no \"NAME DEFINITIONS ::= BEGIN\""},
  };
  std::map<std::string, std::vector<mib::MibProblem>> by_file;
  std::string all;
  for (const mib::MibProblem& p : r.problems) {
    by_file[p.file].push_back(p);
    all += mib::FormatProblem(p) + "\n";
  }
  for (const auto& want : kProblems) {
    SCOPED_TRACE(want.file);
    ASSERT_EQ(by_file[want.file].size(), 1u) << all;
    const mib::MibProblem& p = by_file[want.file][0];
    EXPECT_EQ(p.line, want.line) << mib::FormatProblem(p);
    EXPECT_NE(p.message.find(want.cause), std::string::npos) << mib::FormatProblem(p);
  }
  EXPECT_EQ(r.problems.size(), std::size(kProblems)) << all;

  const std::map<std::string, std::string> kNodes = {
      {"acme", "1.3.6.1.4.1.99999 node [|||]  current  "},
      {"acmeName",
       "1.3.6.1.4.1.99999.1 scalar [OCTET STRING|DisplayString|255a|] read-only current  "},
      {"acmePortTable", "1.3.6.1.4.1.99999.2 table [|||] not-accessible current  "},
      {"acmePortEntry", "1.3.6.1.4.1.99999.2.1 row [|||] not-accessible current  acmePortIndex"},
      {"acmePortIndex", "1.3.6.1.4.1.99999.2.1.1 column [Integer32|||] not-accessible current  "},
      {"acmePortState",
       "1.3.6.1.4.1.99999.2.1.2 column [INTEGER|||up(1),down(2)] read-only deprecated  "},
      {"acmePortRx", "1.3.6.1.4.1.99999.2.1.3 column [Counter32|||] read-only current packets "},
      {"acmePortRowStatus",
       "1.3.6.1.4.1.99999.2.1.4 column [INTEGER|RowStatus||active(1),notInService(2),"
       "notReady(3),createAndGo(4),createAndWait(5),destroy(6)] read-create current  "},
      {"acmeUptime", "1.3.6.1.4.1.99999.10 scalar [TimeTicks|||] read-only current  "},
      {"lostValue", "1.3.6.1.4.1.99998.1 scalar [Integer32|||] read-only current  "},
      {"oldName", "1.3.6.1.4.1.99996.1 scalar [OCTET STRING|DisplayString||] read-only current  "},
      {"oldDrops", "1.3.6.1.4.1.99998.2 scalar [Counter32|||] read-only deprecated  "},
      {"oldFault", "1.3.6.1.4.1.99996.0.3 notification [|||]  current  "},
  };
  std::map<std::string, std::string> got;
  for (const mib::MibNode& n : r.nodes)
    got[n.name] = Describe(n);
  for (const auto& [name, want] : kNodes)
    EXPECT_EQ(got[name], want) << name;
  EXPECT_EQ(got.count("brokenOther"), 0u);  // libsmi gives up on a module at a syntax error
  EXPECT_EQ(got.count("sysDescr") + got.count("enterprises"), 0u);  // base modules stay out
}

// `mib check FILE`: only its modules are read, imports from the folders (the user's SNMPv2-TC
// wins); loads on several threads at once each get the whole result.
TEST_F(MibFolder, NamedFileReadsOnlyItsModules) {
  const std::string acme = Write("acme_v2.my", kAcme);
  Write("ext.txt", kAcmeExt);
  Write("page.htm", "<html>");
  Write("my-tc.txt", R"(SNMPv2-TC DEFINITIONS ::= BEGIN
TEXTUAL-CONVENTION MACRO ::= BEGIN END
DisplayString ::= TEXTUAL-CONVENTION DISPLAY-HINT "32a" STATUS current DESCRIPTION "Mine."
    SYNTAX OCTET STRING (SIZE (0..32))
RowStatus ::= TEXTUAL-CONVENTION STATUS current DESCRIPTION "Mine." SYNTAX INTEGER { active(1) }
END
)");
  std::vector<mib::SmiLoadResult> results(8);
  std::vector<std::thread> threads;
  std::latch start(static_cast<std::ptrdiff_t>(results.size()));
  for (mib::SmiLoadResult& r : results) {
    threads.emplace_back([&] {
      start.arrive_and_wait();
      for (int i = 0; i < 3; ++i)
        r = mib::LoadMibModules({{dir_.Path()}, {acme}, mib::BaseMibFolder()});
    });
  }
  for (std::thread& t : threads)
    t.join();
  for (const mib::SmiLoadResult& r : results) {
    EXPECT_EQ(r.problems.size(), 0u);
    ASSERT_EQ(r.modules.size(), 1u);
    EXPECT_EQ(r.modules[0].name, "ACME-MIB");
    ASSERT_EQ(r.nodes.size(), 8u);
    EXPECT_EQ(Describe(r.nodes[1]),
              "1.3.6.1.4.1.99999.1 scalar [OCTET STRING|DisplayString|32a|] read-only current  ");
  }
}

// The cache gives what the folders gave, field for field, while no file's size or time changed,
// and reads them again as soon as one did or the cache itself is damaged.
TEST_F(MibFolder, CacheGivesWhatTheFoldersGaveUntilAFileChanges) {
  const std::string acme = Write("acme.my", kAcme);
  Write("lost.txt", kMissingImport);  // its problem goes through the cache too
  const auto set_time = [&](long seconds) {
    const timespec times[2] = {{seconds, 0}, {seconds, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, acme.c_str(), times, 0), 0);
  };
  set_time(1700000000);
  const mib::SmiLoadRequest request{{dir_.Path()}, {}, mib::BaseMibFolder()};
  sondara_test::TempFolder cache_folder;
  const auto state_label = [&] {
    for (const mib::MibNode& n : mib::LoadMibModulesCached(request, cache_folder.Path()).nodes) {
      if (n.name == "acmePortState" && n.enums.size() == 2)
        return n.enums[1].second;
    }
    return std::string("(none)");
  };

  const mib::SmiLoadResult fresh = mib::LoadMibModules(request);
  ASSERT_FALSE(fresh.nodes.empty());
  ASSERT_FALSE(fresh.problems.empty());
  for (int pass = 0; pass < 2; ++pass) {  // written, then read back
    const mib::SmiLoadResult cached = mib::LoadMibModulesCached(request, cache_folder.Path());
    EXPECT_EQ(cached.nodes, fresh.nodes) << pass;
    EXPECT_EQ(cached.modules, fresh.modules) << pass;
    EXPECT_EQ(cached.problems, fresh.problems) << pass;
  }

  // Same size, same time: the cache answers, so the old label shows.
  std::string changed = kAcme;
  changed.replace(changed.find("down(2)"), 7, "dawn(2)");
  Write("acme.my", changed);
  set_time(1700000000);
  EXPECT_EQ(state_label(), "down");
  set_time(1700000001);
  EXPECT_EQ(state_label(), "dawn");

  // A cache cut short is read as none, and written anew.
  ASSERT_EQ(std::distance(fs::directory_iterator(cache_folder.Path()), {}), 1);
  const std::string cache = fs::directory_iterator(cache_folder.Path())->path();
  const std::string whole = sondara_test::ReadFile(cache);
  sondara_test::WriteFile(cache, whole.substr(0, whole.size() / 2));
  EXPECT_EQ(state_label(), "dawn");
  EXPECT_EQ(sondara_test::ReadFile(cache), whole);
}

TEST_F(MibFolder, StandardFoldersStartWithTheUsersOwn) {
  fs::create_directories(dir_ / "sondara/mibs");
  setenv("XDG_DATA_HOME", dir_.Path().c_str(), 1);  // each test runs in a process of its own
  const std::vector<std::string> folders = mib::StandardMibFolders();
  ASSERT_FALSE(folders.empty());
  EXPECT_EQ(folders[0], dir_ / "sondara/mibs");
}

// Debian's modules import conventions no Debian package ships as MIB text: our base modules
// stand in, so a fresh machine reports nothing at start, and their types resolve through them.
TEST(DebianMibs, LoadWithOurBaseModulesAndResolveTheirTypes) {
  const mib::SmiLoadResult r =
      mib::LoadMibModules({{"/usr/share/snmp/mibs"}, {}, mib::BaseMibFolder()});
  if (r.modules.empty())
    GTEST_SKIP() << "no MIB modules in /usr/share/snmp/mibs";
  for (const mib::MibProblem& problem : r.problems)
    ADD_FAILURE() << mib::FormatProblem(problem);
  const auto flag = std::find_if(r.nodes.begin(), r.nodes.end(),
                                 [](const mib::MibNode& n) { return n.name == "dskErrorFlag"; });
  ASSERT_NE(flag, r.nodes.end());
  EXPECT_EQ(Describe(*flag),
            "1.3.6.1.4.1.2021.9.1.100 column [INTEGER|UCDErrorFlag||noError(0),error(1)] read-only "
            "current  ");
}

}  // namespace
