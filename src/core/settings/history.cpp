#include "settings/history.h"

#include <algorithm>

#include "util/text.h"

namespace pages {

namespace {
app::History::iterator Find(app::History& history, const std::wstring& text) {
  return std::find_if(history.begin(), history.end(), [&](const std::wstring& entry) {
    return tvkutil::EqualsNoCase(entry, text);
  });
}
}  // namespace

bool AddToHistory(app::History& history, const std::wstring& text) {
  if (Find(history, text) != history.end())
    return false;
  history.insert(history.begin(), text);
  return true;
}

app::History HistoryFromStored(const app::History& stored) {
  app::History history;
  for (const std::wstring& entry : stored)
    AddToHistory(history, entry);
  return history;
}

void MoveToFront(app::History& history, const std::wstring& current) {
  auto it = Find(history, current);
  if (it != history.end())
    std::rotate(history.begin(), it, it + 1);
}

}  // namespace pages
