// The event log without its window: entries queued by any thread, the shown lines (at most
// 1024, oldest first) moved in by the window's timer, and the saved file.
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "logs/event_line_sink.h"
#include "logs/log_time.h"
#include "util/polled_list.h"

namespace logs {

// One line of the event log.
struct CEventEntry {
  std::wstring text;
  LogTimeStamp stamp;  // taken by the thread that added the line, when it added it
};

class CEventLog : public IEventLineSink {
 public:
  // Any thread: queues the text with the current time stamp.
  void AddEvent(const std::wstring& text);
  void AddEventLine(const std::wstring& line) override { AddEvent(line); }

  // Window thread: the timer tick, the Reset command and the rows of the list.
  tvkutil::LogTickResult MovePending() { return queue_.MovePending(); }
  void Reset() { queue_.Clear(); }
  std::size_t ShownCount() const { return queue_.ShownCount(); }
  const CEventEntry& Shown(std::size_t index) const { return *queue_.Shown(index); }

  std::size_t PendingCount() const { return queue_.PendingCount(); }
  std::vector<CEventEntry> CopyPending() const;

  // The saved file of the shown lines: FF FE, the padded header "Date", "Time", "Event", then
  // for every line CR LF, date, tab, time, tab, text, all UTF-16LE and without a final line end.
  // Lines still pending are not saved.
  std::string SavedFileBytes() const;
  // Replaces the file at path with SavedFileBytes() in one step; the system's reason when it
  // cannot be written (the old file is then left as it was).
  [[nodiscard]] std::error_code SaveToFile(const std::filesystem::path& path) const;

 private:
  tvkutil::CPolledList<std::unique_ptr<CEventEntry>> queue_;
};

}  // namespace logs
