#include "ui/pages/usm_fields_view.h"

#include <QGridLayout>
#include <initializer_list>

#include "ui/message_box_dialog.h"
#include "ui/pages/form_controls_view.h"
#include "ui/text_conversion.h"
#include "util/string_table.h"

namespace pages {

namespace {

// User and context names are SnmpAdminString, at most 32 octets (RFC 3411); the engine ID 32
// bytes as hex pairs with a blank between.
constexpr int kMaxAdminStringLen = 32;
constexpr int kMaxEngineIdTextLen = 2 + 3 * 32;
constexpr int kMaxPasswordLen = 255;

template <std::size_t N>
QStringList Names(const wchar_t* const (&names)[N]) {
  QStringList list;
  for (const wchar_t* name : names)
    list << QString::fromWCharArray(name);
  return list;
}

QLineEdit* Edit(const QString& object_name, int max_length, QWidget* parent) {
  auto* edit = new QLineEdit(parent);
  edit->setObjectName(object_name);
  edit->setMaxLength(max_length);
  return edit;
}

// A caption whose control is disabled with it.
QLabel* Caption(const QString& text, QWidget* control) {
  auto* label = new QLabel(text);
  label->setBuddy(control);
  return label;
}

}  // namespace

CUsmFieldsView::CUsmFieldsView(const QString& name, const Captions& captions,
                               bool passwords_outlive_run, QWidget* parent)
    : QGroupBox(QStringLiteral("SNMPv3 User"), parent) {
  setObjectName(name + QStringLiteral("Usm"));
  user_ = Edit(name + QStringLiteral("UsmUser"), kMaxAdminStringLen, this);
  level_ = ListCombo(qPrintable(name + QStringLiteral("UsmLevel")), Names(app::kSecurityLevelNames),
                     this);
  auth_ =
      ListCombo(qPrintable(name + QStringLiteral("UsmAuth")), Names(app::kAuthProtocolNames), this);
  auth_password_ = Edit(name + QStringLiteral("UsmAuthPassword"), kMaxPasswordLen, this);
  priv_ =
      ListCombo(qPrintable(name + QStringLiteral("UsmPriv")), Names(app::kPrivProtocolNames), this);
  priv_password_ = Edit(name + QStringLiteral("UsmPrivPassword"), kMaxPasswordLen, this);
  extension_ = ListCombo(qPrintable(name + QStringLiteral("UsmKeyExtension")),
                         Names(app::kKeyExtensionNames), this);
  extension_->setToolTip(
      QStringLiteral("How AES-192/256 keys are stretched from a shorter hash: Automatic tries "
                     "Blumenthal, then Reeder (used by many switches)."));
  context_name_ = Edit(name + QStringLiteral("UsmContextName"), kMaxAdminStringLen, this);
  engine_id_ = Edit(name + QStringLiteral("UsmContextEngineId"), kMaxEngineIdTextLen, this);
  engine_id_->setPlaceholderText(QStringLiteral("the agent's own"));
  for (QLineEdit* password : {auth_password_, priv_password_}) {
    password->setEchoMode(QLineEdit::Password);
    // Nor shown by an input method's suggestions.
    password->setInputMethodHints(Qt::ImhHiddenText | Qt::ImhSensitiveData |
                                  Qt::ImhNoPredictiveText);
  }

  auto* grid = new QGridLayout(this);
  const auto add = [grid](int row, int column, QLabel* caption, QWidget* control) {
    grid->addWidget(caption, row, column);
    grid->addWidget(control, row, column + 1);
  };
  // Three rows, so that the page keeps room at 800x600: who, with what, and where.
  add(0, 0, Caption(captions.user_name, user_), user_);
  add(0, 2, Caption(captions.level, level_), level_);
  add(0, 4, Caption(QStringLiteral("Context engine ID:"), engine_id_), engine_id_);
  add(1, 0, Caption(QStringLiteral("Authentication:"), auth_), auth_);
  add(1, 2, Caption(QStringLiteral("Password:"), auth_password_), auth_password_);
  add(1, 4, Caption(QStringLiteral("Conte&xt name:"), context_name_), context_name_);
  add(2, 0, Caption(QStringLiteral("Privacy:"), priv_), priv_);
  add(2, 2, Caption(QStringLiteral("Password:"), priv_password_), priv_password_);
  add(2, 4, Caption(QStringLiteral("&Key extension:"), extension_), extension_);
  for (int column : {1, 3, 5})
    grid->setColumnStretch(column, 1);
  if (!passwords_outlive_run) {
    auto* note = new QLabel(tvkutil::UiText(tvkutil::ids::kUsmPasswordsForRunOnly), this);
    note->setObjectName(name + QStringLiteral("UsmPasswordsNote"));
    note->setWordWrap(true);
    grid->addWidget(note, 3, 0, 1, 6);
  }

  connect(level_, &QComboBox::currentIndexChanged, this, &CUsmFieldsView::UpdateEnabling);
  connect(priv_, &QComboBox::currentIndexChanged, this, &CUsmFieldsView::UpdateEnabling);
  UpdateEnabling();
}

void CUsmFieldsView::Read(app::UsmSettings& usm) const {
  usm.user_name = user_->text().toStdWString();
  usm.level = level_->currentText().toStdWString();
  usm.auth_protocol = auth_->currentText().toStdWString();
  usm.auth_password = auth_password_->text().toStdWString();
  usm.priv_protocol = priv_->currentText().toStdWString();
  usm.priv_password = priv_password_->text().toStdWString();
  usm.key_extension = extension_->currentText().toStdWString();
  usm.context_name = context_name_->text().toStdWString();
  usm.context_engine_id = engine_id_->text().toStdWString();
}

void CUsmFieldsView::Write(const app::UsmSettings& usm) {
  user_->setText(Q(usm.user_name));
  SelectText(level_, usm.level);
  SelectText(auth_, usm.auth_protocol);
  auth_password_->setText(Q(usm.auth_password));
  SelectText(priv_, usm.priv_protocol);
  priv_password_->setText(Q(usm.priv_password));
  SelectText(extension_, usm.key_extension);
  context_name_->setText(Q(usm.context_name));
  engine_id_->setText(Q(usm.context_engine_id));
  UpdateEnabling();
}

void CUsmFieldsView::MapFields(app::CMessageBoxUi& ui, const UsmFieldIds& ids) {
  ui.MapField(ids.user_name, user_);
  ui.MapField(ids.auth_password, auth_password_);
  ui.MapField(ids.priv_password, priv_password_);
  ui.MapField(ids.context_engine_id, engine_id_);
}

QList<QWidget*> CUsmFieldsView::Inputs() const {
  return {user_,          level_,     auth_,         auth_password_, priv_,
          priv_password_, extension_, context_name_, engine_id_};
}

void CUsmFieldsView::UpdateEnabling() {
  app::UsmSettings usm;
  Read(usm);
  const UsmFieldsInUse in_use = FieldsInUse(usm);
  const auto enable = [this](QWidget* control, bool on) {
    control->setEnabled(on);
    for (QLabel* label : findChildren<QLabel*>()) {
      if (label->buddy() == control)
        label->setEnabled(on);
    }
  };
  enable(auth_, in_use.auth);
  enable(auth_password_, in_use.auth);
  enable(priv_, in_use.priv);
  enable(priv_password_, in_use.priv);
  enable(extension_, in_use.extension);
}

}  // namespace pages
