#include "mib/mib_cache.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "util/file_replace.h"

namespace mib {

namespace fs = std::filesystem;

namespace {

// Changed whenever what is kept, or how the folders are read, changes.
constexpr std::string_view kFormat = "sondara mib cache 1\n";

class Writer {
 public:
  void Number(std::uint64_t n) {
    for (int i = 0; i < 8; ++i)
      out_.push_back(static_cast<char>(n >> (8 * i)));
  }
  void Text(std::string_view text) {
    Number(text.size());
    out_.append(text);
  }
  std::string& Out() { return out_; }

 private:
  std::string out_;
};

class Reader {
 public:
  explicit Reader(std::string_view in) : in_(in) {}
  std::uint64_t Number() {
    if (in_.size() < 8) {
      ok_ = false;
      return 0;
    }
    std::uint64_t n = 0;
    for (int i = 0; i < 8; ++i)
      n |= static_cast<std::uint64_t>(static_cast<unsigned char>(in_[i])) << (8 * i);
    in_.remove_prefix(8);
    return n;
  }
  std::string Text() {
    const std::uint64_t n = Number();
    if (!ok_ || n > in_.size()) {
      ok_ = false;
      return {};
    }
    std::string text(in_.substr(0, n));
    in_.remove_prefix(n);
    return text;
  }
  // A count of items each at least `least` bytes long: no more than what is left can hold.
  std::uint64_t Count(std::uint64_t least) {
    const std::uint64_t n = Number();
    if (n > in_.size() / least)
      ok_ = false;
    return ok_ ? n : 0;
  }
  bool Ok() const { return ok_ && in_.empty(); }

 private:
  std::string_view in_;
  bool ok_ = true;
};

// Every regular file of the folders, in the order the loader meets them, with its size and
// modification time: the cache holds while this is the same.
std::string FolderState(const SmiLoadRequest& request) {
  Writer state;
  state.Out() = kFormat;
  std::vector<std::string> folders = request.folders;
  folders.push_back(request.base_folder);
  for (const std::string& folder : folders) {
    state.Text(folder);
    std::vector<std::string> names;
    std::error_code ec;
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
      std::string name = it->path().filename().string();
      if (!name.empty() && name[0] != '.')
        names.push_back(std::move(name));
    }
    std::sort(names.begin(), names.end());
    state.Number(names.size());
    for (const std::string& name : names) {
      struct stat st {};
      const bool found = ::stat((folder + '/' + name).c_str(), &st) == 0;
      state.Text(name);
      state.Number(found ? static_cast<std::uint64_t>(st.st_mode) : 0);
      state.Number(found ? static_cast<std::uint64_t>(st.st_size) : 0);
      state.Number(found ? static_cast<std::uint64_t>(st.st_mtim.tv_sec) : 0);
      state.Number(found ? static_cast<std::uint64_t>(st.st_mtim.tv_nsec) : 0);
    }
  }
  return std::move(state.Out());
}

void Put(Writer& w, const SmiLoadResult& result) {
  w.Number(result.nodes.size());
  for (const MibNode& node : result.nodes) {
    w.Number(node.oid.size());
    for (std::uint32_t arc : node.oid)
      w.Number(arc);
    for (const std::string* text :
         {&node.module, &node.name, &node.syntax, &node.type_name, &node.display_hint, &node.access,
          &node.status, &node.units, &node.augments, &node.description})
      w.Text(*text);
    w.Number(static_cast<std::uint64_t>(node.kind));
    w.Number(node.enums.size());
    for (const auto& [value, label] : node.enums) {
      w.Number(static_cast<std::uint64_t>(value));
      w.Text(label);
    }
    w.Number(node.index.size());
    for (const std::string& index : node.index)
      w.Text(index);
  }
  w.Number(result.modules.size());
  for (const LoadedModule& module : result.modules) {
    w.Text(module.name);
    w.Text(module.file);
    w.Number(module.nodes);
  }
  w.Number(result.problems.size());
  for (const MibProblem& problem : result.problems) {
    w.Text(problem.file);
    w.Number(static_cast<std::uint64_t>(problem.line));
    w.Text(problem.module);
    w.Text(problem.message);
  }
}

std::optional<SmiLoadResult> Get(Reader& r) {
  SmiLoadResult result;
  result.nodes.resize(r.Count(8 * 13));
  for (MibNode& node : result.nodes) {
    node.oid.resize(r.Count(8));
    for (std::uint32_t& arc : node.oid)
      arc = static_cast<std::uint32_t>(r.Number());
    for (std::string* text :
         {&node.module, &node.name, &node.syntax, &node.type_name, &node.display_hint, &node.access,
          &node.status, &node.units, &node.augments, &node.description})
      *text = r.Text();
    node.kind = static_cast<NodeKind>(std::min<std::uint64_t>(r.Number(), 6));
    node.enums.resize(r.Count(16));
    for (auto& [value, label] : node.enums) {
      value = static_cast<std::int64_t>(r.Number());
      label = r.Text();
    }
    node.index.resize(r.Count(8));
    for (std::string& index : node.index)
      index = r.Text();
  }
  result.modules.resize(r.Count(24));
  for (LoadedModule& module : result.modules) {
    module.name = r.Text();
    module.file = r.Text();
    module.nodes = r.Number();
  }
  result.problems.resize(r.Count(32));
  for (MibProblem& problem : result.problems) {
    problem.file = r.Text();
    problem.line = static_cast<int>(r.Number());
    problem.module = r.Text();
    problem.message = r.Text();
  }
  if (!r.Ok())
    return std::nullopt;
  return result;
}

std::string ReadWhole(const std::string& file) {
  std::ifstream in(file, std::ios::binary | std::ios::ate);
  std::string bytes(in ? static_cast<std::size_t>(std::max<std::streamoff>(in.tellg(), 0)) : 0,
                    '\0');
  if (!in.seekg(0) || !in.read(bytes.data(), static_cast<std::streamsize>(bytes.size())))
    return {};
  return bytes;
}

}  // namespace

std::string MibCacheFolder() {
  const char* cache_home = std::getenv("XDG_CACHE_HOME");
  const char* home = std::getenv("HOME");
  if (cache_home != nullptr && *cache_home == '/')
    return std::string(cache_home) + "/sondara";
  if (home != nullptr && *home != 0)
    return std::string(home) + "/.cache/sondara";
  return {};
}

SmiLoadResult LoadMibModulesCached(const SmiLoadRequest& request, const std::string& cache_folder) {
  if (cache_folder.empty() || !request.files.empty())
    return LoadMibModules(request);
  std::string folders = request.base_folder;
  for (const std::string& folder : request.folders)
    folders += '\n' + folder;
  char name[48];
  std::snprintf(name, sizeof name, "/mib-modules-%016llx.cache",
                static_cast<unsigned long long>(std::hash<std::string>{}(folders)));
  const std::string cache_file = cache_folder + name;
  const std::string state = FolderState(request);
  const std::string cached = ReadWhole(cache_file);
  Reader before(cached);
  if (before.Text() == state) {
    if (std::optional<SmiLoadResult> kept = Get(before))
      return std::move(*kept);
  }
  SmiLoadResult result = LoadMibModules(request);
  Writer now;
  now.Text(state);
  Put(now, result);
  // Replaced in one step: a reader sees the old cache or the new one. Not written is no fault.
  std::error_code ec;
  fs::create_directories(cache_folder, ec);
  (void)tvkutil::ReplaceFile(cache_file, now.Out());
  return result;
}

}  // namespace mib
