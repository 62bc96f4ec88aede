#include "mib/smi_loader.h"

// smi.h is C and names a parameter "class".
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wkeyword-macro"
#endif
#define class smi_class
#include <smi.h>
#undef class
#if defined(__clang__)
#pragma clang diagnostic pop
#endif
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <set>
#include <string_view>
#include <system_error>

#include "mib/smi_scan.h"

#if defined(__SANITIZE_ADDRESS__)
#define SONDARA_LSAN_LIBSMI 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define SONDARA_LSAN_LIBSMI 1
#endif
#endif
#ifdef SONDARA_LSAN_LIBSMI
// libsmi keeps some of what it parses past smiExit(); the leak checker of sanitizer builds is
// told so, and only about libsmi's own allocations.
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libsmi.so\n";
}
// Quietly: what sondara-cli writes to standard error is part of what its tests check.
extern "C" const char* __lsan_default_options() {
  return "print_suppressions=0";
}
#endif

namespace mib {
namespace {

namespace fs = std::filesystem;

// libsmi's severities: 0 internal, 1 severe (a module, import or node is lost), 2 errors, most
// of them rules vendor modules break without harm (a missing MODULE-IDENTITY), 3 and above
// minor errors and style warnings. What loses something is reported: severities 0 and 1,
// and the unknown types of severity 2, which leave an object without a syntax.
constexpr int kCollectedSeverity = 2;

bool Reported(int severity, const std::string& text) {
  return severity <= 1 || text.rfind("unknown type `", 0) == 0;
}

std::mutex& SmiMutex() {
  static std::mutex m;
  return m;
}

struct SmiMessage {
  std::string path;
  int line;
  int severity;
  std::string text;
};

// Filled by the error handler while SmiMutex() is held.
std::vector<SmiMessage>* g_messages = nullptr;

// The handler owns the message libsmi formatted for it.
void CollectSmiMessage(char* path, int line, int severity, char* msg, char* /*tag*/) {
  if (g_messages != nullptr && severity <= kCollectedSeverity) {
    g_messages->push_back({path ? path : "", line, severity, msg ? msg : ""});
  }
  free(msg);
}

// A private folder of links named after the modules, the one place libsmi looks: it finds a
// module by file name only, and the user's files are named anyhow.
class LinkFolder {
 public:
  LinkFolder() {
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/sondara-mibs-XXXXXX";
    if (mkdtemp(pattern.data()) != nullptr) {
      path_ = pattern;
    }
  }
  ~LinkFolder() {
    if (!path_.empty()) {
      std::error_code ec;
      fs::remove_all(path_, ec);
    }
  }
  LinkFolder(const LinkFolder&) = delete;
  LinkFolder& operator=(const LinkFolder&) = delete;

  const std::string& path() const { return path_; }
  bool Add(const std::string& module, const std::string& file) {
    const fs::path link = fs::path(path_) / module;
    // libsmi cannot read past a UTF-8 byte order mark, which Windows editors write: such a
    // file is copied without it.
    std::ifstream in(file, std::ios::binary);
    char bom[3] = {};
    if (in.read(bom, 3) && std::string_view(bom, 3) == "\xef\xbb\xbf") {
      std::ofstream out(link, std::ios::binary);
      out << in.rdbuf();
      return static_cast<bool>(out);
    }
    std::error_code ec;
    fs::create_symlink(fs::absolute(file, ec), link, ec);
    return !ec;
  }

 private:
  std::string path_;
};

struct ModuleFile {
  std::string file;
  int line = 0;
  bool base = false;
};

std::string ReadHead(const std::string& file, std::size_t limit, bool* ok) {
  std::ifstream in(file, std::ios::binary);
  std::string bytes;
  if (!in) {
    *ok = false;
    return bytes;
  }
  // Sized to the file, not the limit: a folder of small modules must not cost a limit each.
  in.seekg(0, std::ios::end);
  const std::streamoff size = in.tellg();
  in.seekg(0);
  bytes.resize(std::min<std::size_t>(size > 0 ? static_cast<std::size_t>(size) : 0, limit));
  in.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  bytes.resize(static_cast<std::size_t>(in.gcount()));
  *ok = !in.bad();
  return bytes;
}

bool SameFile(const std::string& a, const std::string& b) {
  std::error_code ec;
  return a == b || fs::equivalent(a, b, ec);
}

// Whatever is larger than this is no MIB module anyone wrote by hand.
constexpr std::size_t kMaxModuleFile = 32u << 20;

class Loader {
 public:
  explicit Loader(const SmiLoadRequest& request) : request_(request) {}

  SmiLoadResult Run() {
    std::vector<std::string> wanted;
    for (const std::string& file : request_.files) {
      for (const std::string& name : ScanFile(file, false, true)) {
        wanted.push_back(name);
      }
    }
    for (const std::string& folder : request_.folders) {
      ScanFolder(folder, false, request_.files.empty());
    }
    if (!request_.base_folder.empty()) {
      ScanFolder(request_.base_folder, true, false);
    }
    if (request_.files.empty()) {
      for (const auto& [name, where] : modules_) {
        if (!where.base) {
          wanted.push_back(name);
        }
      }
      // The order libsmi reads them in decides nothing, but a stable one keeps the results so.
      std::sort(wanted.begin(), wanted.end(), [this](const std::string& a, const std::string& b) {
        return modules_[a].file < modules_[b].file ||
               (modules_[a].file == modules_[b].file && modules_[a].line < modules_[b].line);
      });
    }
    if (!wanted.empty()) {
      ReadWithSmi(wanted);
    }
    return std::move(result_);
  }

 private:
  void Problem(std::string file, int line, std::string module, std::string message) {
    result_.problems.push_back({std::move(file), line, std::move(module), std::move(message)});
  }

  void ScanFolder(const std::string& folder, bool base, bool report) {
    std::error_code ec;
    std::vector<std::string> files;
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
      const std::string name = it->path().filename().string();
      std::error_code type_ec;
      if (name.empty() || name[0] == '.' || !fs::is_regular_file(it->path(), type_ec)) {
        continue;
      }
      files.push_back(it->path().string());
    }
    // Directory order is the file system's; sorted, the same folder always gives the same
    // module when it declares one twice.
    std::sort(files.begin(), files.end());
    for (const std::string& file : files) {
      ScanFile(file, base, report);
    }
  }

  // Registers the modules a file declares; returns their names.
  std::vector<std::string> ScanFile(const std::string& file, bool base, bool report) {
    std::vector<std::string> names;
    bool ok = false;
    const std::string bytes = ReadHead(file, kMaxModuleFile, &ok);
    if (!ok) {
      if (report) {
        Problem(file, 0, "", "cannot be read: " + std::string(std::strerror(errno)));
      }
      return names;
    }
    if (std::string why = NotAMibReason(bytes); !why.empty()) {
      if (report) {
        Problem(file, 0, "", "not a MIB module: " + why);
      }
      return names;
    }
    std::vector<DeclaredModule>& declared = declared_[file];
    declared = DeclaredModules(bytes);
    if (declared.empty()) {
      if (report) {
        Problem(file, 0, "", "not a MIB module: no \"NAME DEFINITIONS ::= BEGIN\" in it");
      }
      return names;
    }
    for (const DeclaredModule& d : declared) {
      auto [it, added] = modules_.try_emplace(d.name, ModuleFile{file, d.line, base});
      if (added) {
        names.push_back(d.name);
      } else if (report && !it->second.base && !SameFile(file, it->second.file)) {
        Problem(file, d.line, d.name,
                "module '" + d.name + "' is declared again; the one in " + it->second.file +
                    " is used");
      }
    }
    return names;
  }

  void ReadWithSmi(const std::vector<std::string>& wanted) {
    LinkFolder links;
    if (links.path().empty()) {
      Problem("", 0, "", "cannot create a temporary folder: " + std::string(std::strerror(errno)));
      return;
    }
    std::map<std::string, std::string> link_to_file;
    for (const auto& [name, where] : modules_) {
      if (links.Add(name, where.file)) {
        link_to_file[(fs::path(links.path()) / name).string()] = where.file;
      }
    }

    std::vector<SmiMessage> messages;
    std::lock_guard<std::mutex> lock(SmiMutex());
    g_messages = &messages;
    // The configuration files' "load" lines would read modules nobody asked for.
    smiInit(nullptr);
    smiSetErrorHandler(CollectSmiMessage);
    smiSetErrorLevel(kCollectedSeverity);
    // ERRORS makes libsmi pass errors to the handler, which keeps them from stderr.
    smiSetFlags((smiGetFlags() & ~(SMI_FLAG_RECURSIVE | SMI_FLAG_STATS)) | SMI_FLAG_ERRORS);
    smiSetPath(links.path().c_str());
    // Imports first: libsmi says nothing about the errors of a module it reads for another's
    // IMPORTS, and reads no module twice.
    std::vector<std::string> order;
    std::set<std::string> seen;
    for (const std::string& name : wanted) {
      ImportsFirst(name, seen, order);
    }
    for (const std::string& name : order) {
      smiLoadModule(name.c_str());
    }
    auto file_of = [&](const std::string& path) {
      auto it = link_to_file.find(path);
      return it == link_to_file.end() ? path : it->second;
    };
    for (const std::string& name : wanted) {
      SmiModule* module = smiGetModule(name.c_str());
      const ModuleFile& where = modules_[name];
      if (module == nullptr) {
        continue;
      }
      const std::size_t before = result_.nodes.size();
      CollectNodes(module);
      result_.modules.push_back({name, where.file, result_.nodes.size() - before});
    }
    Report(messages, links.path() + '/', file_of);
    g_messages = nullptr;
    smiExit();
  }

  void ImportsFirst(const std::string& name, std::set<std::string>& seen,
                    std::vector<std::string>& order) {
    auto it = modules_.find(name);
    if (it == modules_.end() || it->second.base || !seen.insert(name).second) {
      return;
    }
    for (const DeclaredModule& d : declared_[it->second.file]) {
      if (d.name == name) {
        for (const ModuleImport& imp : d.imports) {
          ImportsFirst(imp.module, seen, order);
        }
      }
    }
    order.push_back(name);
  }

  template <typename FileOf>
  void Report(const std::vector<SmiMessage>& messages, const std::string& link_prefix,
              const FileOf& file_of) {
    // A missing module makes one problem naming what it was needed for; the errors that
    // follow from its symbols being unknown would only repeat it.
    std::map<std::string, std::set<std::string>> hidden;  // file -> symbols of missing modules
    std::set<std::string> said;
    std::set<std::string> gave_up;  // files with a syntax error: what follows is its echo
    for (SmiMessage m : messages) {
      // Some messages carry their file in the text: "<file>: unable to determine SMI version".
      if (const std::size_t colon = m.text.find(": ");
          m.path.empty() && m.text.rfind(link_prefix, 0) == 0 && colon != std::string::npos) {
        m.path = m.text.substr(0, colon);
        m.text.erase(0, colon + 2);
      }
      const std::string file = file_of(m.path);
      if (!Reported(m.severity, m.text) || gave_up.count(file) != 0) {
        continue;
      }
      static constexpr std::string_view kMissing = "failed to locate MIB module `";
      if (m.text.rfind(kMissing, 0) == 0) {
        if (m.path.empty()) {
          continue;  // the same failure, said again without a place
        }
        const std::string module =
            m.text.substr(kMissing.size(), m.text.find('\'', kMissing.size()) - kMissing.size());
        std::string symbols;
        for (const DeclaredModule& d : declared_[file]) {
          for (const ModuleImport& imp : d.imports) {
            if (imp.module != module) {
              continue;
            }
            for (const std::string& s : imp.symbols) {
              symbols += (symbols.empty() ? "" : ", ") + s;
              hidden[file].insert(s);
            }
          }
        }
        if (said.insert(file + '\n' + module).second) {
          auto known = modules_.find(module);
          Problem(
              file, m.line, ModuleAt(file),
              "module '" + module + "' " +
                  (known == modules_.end() ? "not found"
                                           : "in " + known->second.file + " could not be read") +
                  (symbols.empty() ? std::string() : "; needed for " + symbols));
        }
        continue;
      }
      if (MentionsAny(m.text, hidden[file])) {
        continue;
      }
      if (said.insert(file + '\n' + std::to_string(m.line) + '\n' + m.text).second) {
        Problem(file, m.line, ModuleAt(file), m.text);
      }
      if (m.text.rfind("syntax error", 0) == 0) {
        gave_up.insert(file);
      }
    }
  }

  static bool MentionsAny(const std::string& text, const std::set<std::string>& symbols) {
    for (const std::string& s : symbols) {
      if (text.find('`' + s + '\'') != std::string::npos) {
        return true;
      }
    }
    return false;
  }

  std::string ModuleAt(const std::string& file) const {
    for (const auto& [name, where] : modules_) {
      if (where.file == file) {
        return name;
      }
    }
    return {};
  }

  void CollectNodes(SmiModule* module) {
    for (SmiNode* n = smiGetFirstNode(module, SMI_NODEKIND_ANY); n;
         n = smiGetNextNode(n, SMI_NODEKIND_ANY)) {
      if (n->name == nullptr || n->nodekind == SMI_NODEKIND_UNKNOWN) {
        continue;
      }
      result_.nodes.push_back(ToMibNode(module, n));
    }
  }

  static MibNode ToMibNode(SmiModule* module, SmiNode* n);

  const SmiLoadRequest& request_;
  std::map<std::string, ModuleFile> modules_;
  std::map<std::string, std::vector<DeclaredModule>> declared_;  // by file
  SmiLoadResult result_;
};

NodeKind KindOf(SmiNodekind kind) {
  switch (kind) {
    case SMI_NODEKIND_SCALAR:
      return NodeKind::kScalar;
    case SMI_NODEKIND_TABLE:
      return NodeKind::kTable;
    case SMI_NODEKIND_ROW:
      return NodeKind::kRow;
    case SMI_NODEKIND_COLUMN:
      return NodeKind::kColumn;
    case SMI_NODEKIND_NOTIFICATION:
      return NodeKind::kNotification;
    case SMI_NODEKIND_GROUP:
    case SMI_NODEKIND_COMPLIANCE:
    case SMI_NODEKIND_CAPABILITIES:
      return NodeKind::kGroup;
    default:
      return NodeKind::kNode;
  }
}

const char* AccessName(SmiNode* n) {
  switch (n->access) {
    case SMI_ACCESS_NOT_ACCESSIBLE:
      return "not-accessible";
    case SMI_ACCESS_NOTIFY:
      return "accessible-for-notify";
    case SMI_ACCESS_READ_ONLY:
      return "read-only";
    case SMI_ACCESS_READ_WRITE: {
      // libsmi keeps read-create as read-write on the column and "create" on its row.
      SmiNode* row = n->nodekind == SMI_NODEKIND_COLUMN ? smiGetParentNode(n) : nullptr;
      return row && row->create ? "read-create" : "read-write";
    }
    default:
      return "";
  }
}

const char* StatusName(SmiStatus status) {
  switch (status) {
    case SMI_STATUS_CURRENT:
    case SMI_STATUS_MANDATORY:  // SMIv1's, mapped as RFC 3584 2.1.1 says
      return "current";
    case SMI_STATUS_DEPRECATED:
    case SMI_STATUS_OPTIONAL:
      return "deprecated";
    case SMI_STATUS_OBSOLETE:
      return "obsolete";
    default:
      return "";
  }
}

bool IsSmiBaseModule(const char* name) {
  return name && (std::strcmp(name, "SNMPv2-SMI") == 0 || std::strcmp(name, "RFC1155-SMI") == 0);
}

// The wire type of an SMI base type by the name it is defined under, SMIv1's names included.
const char* WireTypeOf(std::string_view name) {
  static constexpr std::pair<std::string_view, const char*> kTypes[] = {
      {"Integer32", "Integer32"},      {"Unsigned32", "Unsigned32"}, {"Counter32", "Counter32"},
      {"Counter", "Counter32"},        {"Gauge32", "Gauge32"},       {"Gauge", "Gauge32"},
      {"Counter64", "Counter64"},      {"TimeTicks", "TimeTicks"},   {"IpAddress", "IpAddress"},
      {"NetworkAddress", "IpAddress"}, {"Opaque", "Opaque"},
  };
  for (const auto& [type, wire] : kTypes) {
    if (type == name) {
      return wire;
    }
  }
  return nullptr;
}

const char* BaseTypeName(SmiBasetype base) {
  switch (base) {
    case SMI_BASETYPE_INTEGER32:
    case SMI_BASETYPE_ENUM:
      return "INTEGER";
    case SMI_BASETYPE_OCTETSTRING:
      return "OCTET STRING";
    case SMI_BASETYPE_OBJECTIDENTIFIER:
      return "OBJECT IDENTIFIER";
    case SMI_BASETYPE_UNSIGNED32:
      return "Unsigned32";
    case SMI_BASETYPE_UNSIGNED64:
      return "Counter64";
    case SMI_BASETYPE_BITS:
      return "BITS";
    default:
      return "";
  }
}

MibNode Loader::ToMibNode(SmiModule* module, SmiNode* n) {
  MibNode node;
  node.oid.assign(n->oid, n->oid + n->oidlen);
  node.module = module->name;
  node.name = n->name;
  node.kind = KindOf(n->nodekind);
  node.access = AccessName(n);
  node.status = StatusName(n->status);
  if (n->units) {
    node.units = n->units;
  }
  if (n->description) {
    node.description = n->description;
  }
  if (n->nodekind == SMI_NODEKIND_SCALAR || n->nodekind == SMI_NODEKIND_COLUMN) {
    SmiType* type = smiGetNodeType(n);
    if (type) {
      node.syntax = BaseTypeName(type->basetype);
    }
    // From the node's own (often unnamed, restricted) type up to the base type: the first
    // named convention, the first hint, the first enumeration and units found are the ones.
    for (SmiType* t = type; t; t = smiGetParentType(t)) {
      SmiModule* owner = smiGetTypeModule(t);
      // Integer32 and Unsigned32 are libsmi's own base types, of no module.
      const bool smi_base = owner == nullptr || owner->name == nullptr || *owner->name == '\0' ||
                            IsSmiBaseModule(owner->name);
      if (t->name && smi_base) {
        if (const char* wire = WireTypeOf(t->name)) {
          node.syntax = wire;
        }
        break;
      }
      if (t->name && node.type_name.empty() && owner && owner->name && *owner->name) {
        node.type_name = t->name;
      }
      if (t->format && node.display_hint.empty()) {
        node.display_hint = t->format;
      }
      if (t->units && node.units.empty()) {
        node.units = t->units;
      }
      if (node.enums.empty()) {
        for (SmiNamedNumber* nn = smiGetFirstNamedNumber(t); nn; nn = smiGetNextNamedNumber(nn)) {
          const std::int64_t v = nn->value.basetype == SMI_BASETYPE_UNSIGNED32
                                     ? static_cast<std::int64_t>(nn->value.value.unsigned32)
                                     : static_cast<std::int64_t>(nn->value.value.integer32);
          node.enums.emplace_back(v, nn->name ? nn->name : "");
        }
      }
    }
  }
  if (n->nodekind == SMI_NODEKIND_ROW) {
    if (n->indexkind == SMI_INDEX_AUGMENT) {
      if (SmiNode* base = smiGetRelatedNode(n)) {
        node.augments = base->name;
      }
    } else {
      for (SmiElement* e = smiGetFirstElement(n); e; e = smiGetNextElement(e)) {
        if (SmiNode* column = smiGetElementNode(e)) {
          node.index.emplace_back(column->name);
        }
      }
      if (n->implied && !node.index.empty()) {
        node.index.back() = "IMPLIED " + node.index.back();
      }
    }
  }
  return node;
}

}  // namespace

std::string FormatProblem(const MibProblem& problem) {
  std::string text = problem.file;
  if (!text.empty() && problem.line > 0) {
    text += ':' + std::to_string(problem.line);
  }
  return text.empty() ? problem.message : text + ": " + problem.message;
}

SmiLoadResult LoadMibModules(const SmiLoadRequest& request) {
  return Loader(request).Run();
}

namespace {

// $XDG_DATA_HOME/sondara/mibs (else ~/.local/share/sondara/mibs), /usr/share/snmp/mibs and every
// folder in /usr/share/mibs.
void AddUsualFolders(std::vector<std::string>& candidates) {
  const char* data_home = std::getenv("XDG_DATA_HOME");
  const char* home = std::getenv("HOME");
  if (data_home && *data_home == '/') {
    candidates.push_back(std::string(data_home) + "/sondara/mibs");
  } else if (home && *home) {
    candidates.push_back(std::string(home) + "/.local/share/sondara/mibs");
  }
  candidates.emplace_back("/usr/share/snmp/mibs");
  std::vector<std::string> shared;
  std::error_code ec;
  for (fs::directory_iterator it("/usr/share/mibs", ec), end; !ec && it != end; it.increment(ec)) {
    std::error_code type_ec;
    if (fs::is_directory(it->path(), type_ec)) {
      shared.push_back(it->path().string());
    }
  }
  std::sort(shared.begin(), shared.end());
  candidates.insert(candidates.end(), shared.begin(), shared.end());
}

}  // namespace

std::vector<std::string> StandardMibFolders() {
  std::vector<std::string> candidates;
  if (const char* chosen = std::getenv("SONDARA_MIB_FOLDERS"); chosen != nullptr) {
    // The usual folders replaced by these (colon-separated; empty: none).
    for (std::string_view rest = chosen; !rest.empty();) {
      const std::size_t colon = rest.find(':');
      if (colon != 0)
        candidates.emplace_back(rest.substr(0, colon));
      rest.remove_prefix(colon == std::string_view::npos ? rest.size() : colon + 1);
    }
  } else {
    AddUsualFolders(candidates);
  }
  std::vector<std::string> folders;
  for (const std::string& c : candidates) {
    std::error_code type_ec;
    if (fs::is_directory(c, type_ec)) {
      folders.push_back(c);
    }
  }
  return folders;
}

std::string BaseMibFolder() {
  std::error_code ec;
  const fs::path exe = fs::read_symlink("/proc/self/exe", ec);
  if (!ec) {
    const fs::path installed = exe.parent_path().parent_path() / "share/sondara/mibs/base";
    if (fs::is_directory(installed, ec)) {
      return installed.string();
    }
  }
  return SONDARA_SOURCE_MIB_BASE_DIR;
}

}  // namespace mib
