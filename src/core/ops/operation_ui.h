// How an operation talks to the person at the desk without knowing about windows: a message
// box with an icon, or a Yes/No question, that puts the focus on one field afterwards. The pages
// implement it with QMessageBox; tests record what would have been shown.
#pragma once

#include <string>

namespace app {

enum class MessageIcon { kNone, kWarning };

// The field a message is about; pages number their own fields, kNoField focuses nothing.
inline constexpr int kNoField = -1;

class IOperationUi {
 public:
  virtual ~IOperationUi() = default;
  // Shows `text` and waits for the user; then focuses `field` when it is not kNoField.
  virtual void ShowMessage(const std::wstring& text, MessageIcon icon, int field) = 0;
  // Shows `text` with Yes and No and waits for the user: true for Yes. After No, focuses
  // `field` when it is not kNoField.
  virtual bool AskYesNo(const std::wstring& text, int field) = 0;
};

}  // namespace app
