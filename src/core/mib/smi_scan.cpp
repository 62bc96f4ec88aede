#include "mib/smi_scan.h"

#include <algorithm>
#include <cctype>

namespace mib {
namespace {

bool StartsWith(std::string_view s, std::string_view prefix) {
  return s.substr(0, prefix.size()) == prefix;
}

std::string Lower(std::string_view s) {
  std::string out(s);
  std::transform(out.begin(), out.end(), out.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return out;
}

struct Token {
  std::string_view text;
  int line;
};

// ASN.1 tokens as far as finding module headers needs: identifiers, "::=", braces and single
// characters. Comments run from "--" to the next "--" or the end of the line (X.680 12.6).
std::vector<Token> Tokens(std::string_view s) {
  std::vector<Token> out;
  int line = 1;
  std::size_t i = 0;
  auto ident = [](char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_';
  };
  while (i < s.size()) {
    const char c = s[i];
    if (c == '\n') {
      ++line;
      ++i;
    } else if (std::isspace(static_cast<unsigned char>(c))) {
      ++i;
    } else if (c == '-' && i + 1 < s.size() && s[i + 1] == '-') {
      i += 2;
      while (i < s.size() && s[i] != '\n' &&
             !(s[i] == '-' && i + 1 < s.size() && s[i + 1] == '-')) {
        ++i;
      }
      if (i < s.size() && s[i] == '-') {
        i += 2;
      }
    } else if (c == '"') {
      for (++i; i < s.size() && s[i] != '"'; ++i) {
        line += s[i] == '\n';
      }
      ++i;
    } else if (std::isalpha(static_cast<unsigned char>(c))) {
      const std::size_t start = i;
      while (i < s.size() && ident(s[i]) && !(s[i] == '-' && i + 1 < s.size() && s[i + 1] == '-')) {
        ++i;
      }
      out.push_back({s.substr(start, i - start), line});
    } else if (StartsWith(s.substr(i), "::=")) {
      out.push_back({s.substr(i, 3), line});
      i += 3;
    } else {
      out.push_back({s.substr(i, 1), line});
      ++i;
    }
  }
  return out;
}

// "IMPORTS a, b FROM X-MIB c FROM Y-MIB;" right after BEGIN.
std::vector<ModuleImport> Imports(const std::vector<Token>& tokens, std::size_t i) {
  std::vector<ModuleImport> out;
  if (i >= tokens.size() || tokens[i].text != "IMPORTS") {
    return out;
  }
  std::vector<std::string> symbols;
  for (++i; i < tokens.size() && tokens[i].text != ";"; ++i) {
    const std::string_view t = tokens[i].text;
    if (t == "FROM" && i + 1 < tokens.size()) {
      out.push_back({std::string(tokens[++i].text), std::move(symbols)});
      symbols.clear();
    } else if (std::isalpha(static_cast<unsigned char>(t[0]))) {
      symbols.emplace_back(t);
    }
  }
  return out;
}

}  // namespace

std::string NotAMibReason(std::string_view bytes) {
  if (StartsWith(bytes, "%PDF")) {
    return "a PDF document";
  }
  if (StartsWith(bytes, "PK\x03\x04") || StartsWith(bytes, "PK\x05\x06")) {
    return "a zip archive; unpack it into the MIB folder";
  }
  if (StartsWith(bytes, "\x1f\x8b")) {
    return "a gzip-compressed file; unpack it into the MIB folder";
  }
  if (StartsWith(bytes, "{\\rtf")) {
    return "an RTF document";
  }
  const std::string_view head = bytes.substr(0, 4096);
  const bool utf16_bom = StartsWith(bytes, "\xff\xfe") || StartsWith(bytes, "\xfe\xff");
  // UTF-16 text without a byte order mark still has a zero byte beside every ASCII letter.
  std::size_t zeros_even = 0, zeros_odd = 0;
  for (std::size_t i = 0; i < head.size(); ++i) {
    if (head[i] == '\0') {
      (i % 2 == 0 ? zeros_even : zeros_odd) += 1;
    }
  }
  const std::size_t half = head.size() / 2;
  if (utf16_bom || (half >= 8 && (zeros_even * 4 >= half * 3 || zeros_odd * 4 >= half * 3))) {
    return "UTF-16 text; save it as ASCII or UTF-8";
  }
  const std::string lower = Lower(head.substr(0, 1024));
  const std::size_t first = lower.find_first_not_of(" \t\r\n");
  if (first != std::string::npos && lower[first] == '<' &&
      (lower.find("<html") != std::string::npos || lower.find("<!doctype") != std::string::npos)) {
    return "an HTML page; save the module's text, not the web page";
  }
  if (zeros_even + zeros_odd > 0) {
    return "a binary file";
  }
  return {};
}

std::vector<DeclaredModule> DeclaredModules(std::string_view text) {
  std::vector<DeclaredModule> out;
  const std::vector<Token> tokens = Tokens(text);
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    if (tokens[i].text != "DEFINITIONS" || i == 0) {
      continue;
    }
    // "NAME DEFINITIONS", or "NAME { oid } DEFINITIONS"
    std::size_t name = i - 1;
    if (tokens[name].text == "}") {
      while (name > 0 && tokens[name].text != "{") {
        --name;
      }
      if (name == 0) {
        continue;
      }
      --name;
    }
    // Tagging and extensibility clauses may sit between DEFINITIONS and "::=".
    std::size_t j = i + 1;
    while (j < tokens.size() && j < i + 6 && tokens[j].text != "::=") {
      ++j;
    }
    const std::string_view n = tokens[name].text;
    if (j + 1 < tokens.size() && tokens[j + 1].text == "BEGIN" && !n.empty() &&
        std::isupper(static_cast<unsigned char>(n[0]))) {
      out.push_back({std::string(n), tokens[name].line, Imports(tokens, j + 2)});
    }
  }
  return out;
}

}  // namespace mib
