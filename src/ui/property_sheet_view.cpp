#include "ui/property_sheet_view.h"

#include <QAbstractButton>
#include <QGroupBox>
#include <QKeySequence>
#include <QLabel>
#include <QLayout>
#include <QVBoxLayout>
#include <algorithm>

namespace app {

namespace {

// The Alt+letter keys that the captions of a page's controls take.
QList<QKeySequence> MnemonicKeys(const QWidget* page) {
  QList<QKeySequence> keys;
  for (const QWidget* w : page->findChildren<QWidget*>()) {
    QString text;
    if (const auto* label = qobject_cast<const QLabel*>(w); label != nullptr && label->buddy())
      text = label->text();
    else if (const auto* button = qobject_cast<const QAbstractButton*>(w))
      text = button->text();
    else if (const auto* group = qobject_cast<const QGroupBox*>(w))
      text = group->title();
    const QKeySequence key = QKeySequence::mnemonic(text);
    if (!key.isEmpty())
      keys.append(key);
  }
  return keys;
}

}  // namespace

CZeroFunctionalityPropertyPage::CZeroFunctionalityPropertyPage(QWidget* parent)
    : CPropertyPage(kPageNoFunctionality, QStringLiteral("&No Functionality"), parent) {
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(new QLabel(QStringLiteral("You have deselected all the pages!"), this));
  layout->addStretch();
}

CPropertySheetView::CPropertySheetView(const PageFlags& flags, PageFactory factory, QWidget* parent)
    : QScrollArea(parent), page_set_(flags), factory_(std::move(factory)) {
  auto* holder = new QWidget(this);
  auto* layout = new QVBoxLayout(holder);
  // The sheet stands 15 pixels in from the left edge of its pane, with a little room on the
  // right so its frame is not flush with the window's edge.
  layout->setContentsMargins(15, 0, 8, 4);
  sheet_ = new QTabWidget(holder);
  sheet_->setDocumentMode(false);
  layout->addWidget(sheet_);
  setWidget(holder);
  setWidgetResizable(true);
  setFrameShape(QFrame::NoFrame);
  SyncTabs();
  connect(sheet_, &QTabWidget::currentChanged, this, &CPropertySheetView::OnCurrentChanged);
  OnCurrentChanged(sheet_->currentIndex());
}

int CPropertySheetView::FormHeight() const {
  const QMargins margins = widget()->layout()->contentsMargins();
  return sheet_->minimumSizeHint().height() + margins.top() + margins.bottom();
}

CPropertyPage* CPropertySheetView::Page(int page_id) {
  auto it = pages_.find(page_id);
  if (it != pages_.end())
    return it->second;
  CPropertyPage* page = page_id == kPageNoFunctionality ? new CZeroFunctionalityPropertyPage(this)
                                                        : factory_(page_id, this);
  if (page != nullptr)
    pages_[page_id] = page;
  return page;
}

void CPropertySheetView::SyncTabs() {
  // Tabs follow the page set: the order it keeps, and its active page.
  const std::vector<int>& ids = page_set_.Pages();
  const bool blocked = sheet_->blockSignals(true);
  for (int i = sheet_->count() - 1; i >= 0; --i) {
    auto* page = static_cast<CPropertyPage*>(sheet_->widget(i));
    if (std::find(ids.begin(), ids.end(), page->PageId()) == ids.end())
      sheet_->removeTab(i);
  }
  for (int id : ids) {
    CPropertyPage* page = Page(id);
    if (page != nullptr && sheet_->indexOf(page) < 0)
      sheet_->addTab(page, page->Caption());
  }
  if (CPropertyPage* active = Page(page_set_.Active()))
    sheet_->setCurrentWidget(active);
  sheet_->blockSignals(blocked);
}

void CPropertySheetView::AddPage(int page_id) {
  if (!page_set_.Add(page_id))
    return;
  SyncTabs();
  OnCurrentChanged(sheet_->currentIndex());
}

void CPropertySheetView::RemovePage(int page_id) {
  if (!page_set_.Remove(page_id))
    return;
  SyncTabs();
  OnCurrentChanged(sheet_->currentIndex());
  // Nobody can see or stop a walk or sweep of a page without its tab.
  if (auto it = pages_.find(page_id); it != pages_.end())
    it->second->StopOperations();
}

void CPropertySheetView::UpdateTabMnemonics(const QWidget* shown) {
  // Qt hands a letter taken twice to each owner in turn: a press meant for the page's "&Get"
  // would switch to the "&Get/Set" tab every other time. The tab loses its underline instead;
  // Ctrl+Tab still reaches it.
  const QList<QKeySequence> taken = shown != nullptr ? MnemonicKeys(shown) : QList<QKeySequence>();
  for (int i = 0; i < sheet_->count(); ++i) {
    const QString caption = static_cast<CPropertyPage*>(sheet_->widget(i))->Caption();
    const bool clash = taken.contains(QKeySequence::mnemonic(caption));
    sheet_->setTabText(i, clash ? QString(caption).remove(QLatin1Char('&')) : caption);
  }
}

void CPropertySheetView::OnCurrentChanged(int index) {
  auto* page = index >= 0 ? static_cast<CPropertyPage*>(sheet_->widget(index)) : nullptr;
  UpdateTabMnemonics(page);
  if (page == active_)
    return;
  // A page that is being removed is deactivated too, so what was typed in it is kept.
  if (active_ != nullptr)
    active_->OnKillActive();
  active_ = page;
  if (page != nullptr) {
    page_set_.SetActive(page->PageId());
    page->OnSetActive();
  }
}

void CPropertySheetView::CollectForSnapshot() {
  if (page_set_.PlaceholderShown())
    return;
  if (CPropertyPage* page = Page(page_set_.Active()))
    page->StoreToApp();
}

void CPropertySheetView::Close() {
  for (const auto& [id, page] : pages_)
    page->StopOperations();
}

}  // namespace app
