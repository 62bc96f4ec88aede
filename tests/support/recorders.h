// Stand-ins that record what an operation shows and logs, and polling up to a deadline.
#pragma once

#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "logs/event_line_sink.h"
#include "ops/operation_ui.h"

namespace testing_support {

// Message boxes shown, each with its icon and the field focused afterwards.
struct RecordingUi : app::IOperationUi {
  struct Shown {
    std::wstring text;
    app::MessageIcon icon;
    int field;
    bool operator==(const Shown&) const = default;
  };
  void ShowMessage(const std::wstring& text, app::MessageIcon icon, int field) override {
    shown.push_back({text, icon, field});
  }
  // Recorded like a message without an icon; answered with `answer`.
  bool AskYesNo(const std::wstring& text, int field) override {
    shown.push_back({text, app::MessageIcon::kNone, field});
    return answer;
  }
  bool answer = true;
  // Text and field of each, for tests that leave the icon aside.
  std::vector<std::pair<std::wstring, int>> Said() const {
    std::vector<std::pair<std::wstring, int>> said;
    for (const Shown& s : shown)
      said.emplace_back(s.text, s.field);
    return said;
  }
  std::vector<Shown> shown;
};

// Event lines, which may come from an operation's threads.
struct EventLines : logs::IEventLineSink {
  void AddEventLine(const std::wstring& line) override {
    std::lock_guard lock(mutex);
    lines.push_back(line);
  }
  std::vector<std::wstring> Lines() const {
    std::lock_guard lock(mutex);
    return lines;
  }
  mutable std::mutex mutex;
  std::vector<std::wstring> lines;
};

inline bool WaitUntil(const std::function<bool()>& done,
                      std::chrono::milliseconds limit = std::chrono::seconds(60)) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline)
      return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

}  // namespace testing_support
