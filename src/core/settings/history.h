// The drop-down histories of the pages (OIDs, communities): the newest entry on top, no entry
// twice when the letter case alone differs, and the one in use first when they are stored.
#pragma once

#include <string>

#include "settings/settings.h"

namespace pages {

// Puts text on top unless an entry equal to it without regard to case is there already (that
// entry stays where it is). True when the text was added.
bool AddToHistory(app::History& history, const std::wstring& text);

// The list a page starts with: the stored entries added one by one from the first, so the list
// shows them in reverse order. Kept that way on purpose: it is what users know.
app::History HistoryFromStored(const app::History& stored);

// Before a store: the first entry equal to current (without regard to case) moves to the front,
// so the entry in use is the first one read back at the next start.
void MoveToFront(app::History& history, const std::wstring& current);

}  // namespace pages
