// CPropertyPage: one tab of the property sheet. Each operation page derives from it and keeps
// its logic in the core; the page only moves values between its controls and that logic.
#pragma once

#include <QString>
#include <QWidget>

namespace app {

class CPropertyPage : public QWidget {
 public:
  CPropertyPage(int page_id, QString caption, QWidget* parent = nullptr)
      : QWidget(parent), page_id_(page_id), caption_(std::move(caption)) {}

  int PageId() const { return page_id_; }
  // The tab text, with "&" before the mnemonic letter ("&Get/Set").
  const QString& Caption() const { return caption_; }

  // The page became the sheet's active page / stops being it.
  virtual void OnSetActive() {}
  virtual void OnKillActive() {}
  // Copies the control values into the page's data and stores them in the application object
  // (Save Snapshot, and before the settings are written at exit).
  virtual void StoreToApp() {}
  // Stops a running operation and waits for it (the window is closing).
  virtual void StopOperations() {}

 private:
  int page_id_;
  QString caption_;
};

}  // namespace app
