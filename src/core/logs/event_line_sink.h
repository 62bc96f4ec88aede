// Where finished event-log lines go. The event log implements it; tests record into it.
#pragma once

#include <string>

namespace logs {

class IEventLineSink {
 public:
  virtual ~IEventLineSink() = default;
  // One formatted line (already cut to its maximum length). Must be safe from any thread.
  virtual void AddEventLine(const std::wstring& line) = 0;
};

}  // namespace logs
