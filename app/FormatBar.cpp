#include "app/FormatBar.h"

#include <QColorDialog>
#include <QComboBox>
#include <QFontComboBox>
#include <QMenu>
#include <QPainter>
#include <QToolButton>

#include "app/FontResolver.h"
#include "app/Settings.h"
#include "editing/SumoraEditorView.h"
#include "values/BuiltInNumberFormats.h"

namespace sumora::app {

namespace {

int64_t builtInId(const std::string& code) {
    for (const auto& [id, builtIn] : builtInNumberFormats())
        if (builtIn == code) return id;
    return 0;
}

NumberFormatPreset preset(const char* label, const char* code) {
    if (!code) return {QString::fromUtf8(label), std::nullopt, 0};
    return {QString::fromUtf8(label), std::string(code), builtInId(code)};
}

QIcon swatch(const QColor& color, const QString& letter) {
    QPixmap pixmap(18, 18);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    if (!letter.isEmpty()) {
        QFont f = p.font();
        f.setBold(true);
        f.setPixelSize(12);
        p.setFont(f);
        p.drawText(QRect(0, 0, 18, 13), Qt::AlignCenter, letter);
    }
    p.fillRect(QRect(1, 14, 16, 4), color.isValid() ? color : QColor(Qt::white));
    return QIcon(pixmap);
}

const QList<QColor>& colorChoices() {
    static const QList<QColor> colors = {
        QColor(0x00, 0x00, 0x00), QColor(0x59, 0x59, 0x59), QColor(0xA6, 0xA6, 0xA6),
        QColor(0xFF, 0xFF, 0xFF), QColor(0xC0, 0x00, 0x00), QColor(0xFF, 0x00, 0x00),
        QColor(0xFF, 0xC0, 0x00), QColor(0xFF, 0xFF, 0x00), QColor(0x92, 0xD0, 0x50),
        QColor(0x00, 0xB0, 0x50), QColor(0x00, 0xB0, 0xF0), QColor(0x00, 0x70, 0xC0),
        QColor(0x00, 0x20, 0x60), QColor(0x70, 0x30, 0xA0), QColor(0xFC, 0xE4, 0xD6),
        QColor(0xDD, 0xEB, 0xF7),
    };
    return colors;
}

QString hexOf(const QColor& color) {
    return color.name().mid(1).toUpper();
}

} // namespace

const std::vector<NumberFormatPreset>& numberFormatPresets() {
    static const std::vector<NumberFormatPreset> presets = {
        preset("General", nullptr),
        preset("Number", "0.00"),
        preset("Thousands", "#,##0.00"),
        preset("Currency", "$#,##0.00"),
        preset("Percent", "0.00%"),
        preset("Scientific", "0.00E+00"),
        preset("Fraction", "# ?/?"),
        preset("Date", "yyyy-mm-dd"),
        preset("Time", "h:mm:ss"),
        preset("Date and Time", "yyyy-mm-dd h:mm"),
        preset("Text", "@"),
    };
    return presets;
}

FormatBar::FormatBar(SumoraEditorView& editor, QWidget* parent)
    : QToolBar(tr("Format"), parent), editor_(editor), font_(new QFontComboBox(this)),
      size_(new QComboBox(this)), numberFormat_(new QComboBox(this)) {
    setObjectName(QStringLiteral("formatBar"));
    setMovable(false);
    setIconSize(QSize(18, 18));

    font_->setObjectName(QStringLiteral("fontFamily"));
    font_->setMaximumWidth(180);
    addWidget(font_);
    size_->setObjectName(QStringLiteral("fontSize"));
    size_->setEditable(true);
    for (int s : {8, 9, 10, 11, 12, 14, 16, 18, 20, 24, 28, 36, 48, 72})
        size_->addItem(QString::number(s));
    size_->setMaximumWidth(64);
    addWidget(size_);
    connect(font_, &QFontComboBox::currentFontChanged, this, [this](const QFont& f) {
        if (!refreshing_) run([&] { editor_.setFontName(f.family().toStdString()); });
    });
    connect(size_, &QComboBox::textActivated, this, [this](const QString& text) {
        bool ok = false;
        const double points = text.toDouble(&ok);
        if (!refreshing_ && ok && points > 0 && points <= 409) run([&] { editor_.setFontSize(points); });
    });
    addSeparator();

    bold_ = addCommand(QStringLiteral("B"), tr("Bold"), true, [this] { editor_.toggleBold(); });
    italic_ = addCommand(QStringLiteral("I"), tr("Italic"), true, [this] { editor_.toggleItalic(); });
    underline_ =
        addCommand(QStringLiteral("U"), tr("Underline"), true, [this] { editor_.toggleUnderline(); });
    strike_ =
        addCommand(QStringLiteral("S"), tr("Strikethrough"), true, [this] { editor_.toggleStrikethrough(); });
    QFont f = font();
    f.setBold(true);
    widgetForAction(bold_)->setFont(f);
    f.setBold(false);
    f.setItalic(true);
    widgetForAction(italic_)->setFont(f);
    f.setItalic(false);
    f.setUnderline(true);
    widgetForAction(underline_)->setFont(f);
    f.setUnderline(false);
    f.setStrikeOut(true);
    widgetForAction(strike_)->setFont(f);
    addColorButton(QStringLiteral("A"), tr("Font Colour"), false);
    addColorButton(QString(), tr("Fill Colour"), true);
    addBordersButton();
    addSeparator();

    alignLeft_ = addCommand(tr("Left"), tr("Align Left"), true, [this] {
        editor_.setAlignment(alignLeft_->isChecked() ? CellAlignment::left : CellAlignment::general);
    });
    alignCenter_ = addCommand(tr("Center"), tr("Align Center"), true, [this] {
        editor_.setAlignment(alignCenter_->isChecked() ? CellAlignment::center : CellAlignment::general);
    });
    alignRight_ = addCommand(tr("Right"), tr("Align Right"), true, [this] {
        editor_.setAlignment(alignRight_->isChecked() ? CellAlignment::right : CellAlignment::general);
    });
    wrap_ = addCommand(tr("Wrap"), tr("Wrap Text"), true, [this] { editor_.toggleWrapText(); });
    addSeparator();

    numberFormat_->setObjectName(QStringLiteral("numberFormat"));
    for (const auto& p : numberFormatPresets())
        numberFormat_->addItem(p.label);
    // Shown (not chosen) for a code that matches no preset.
    numberFormat_->addItem(tr("Custom"));
    addWidget(numberFormat_);
    connect(numberFormat_, &QComboBox::activated, this, [this](int i) {
        if (refreshing_ || i < 0 || static_cast<size_t>(i) >= numberFormatPresets().size()) return;
        const NumberFormatPreset& p = numberFormatPresets()[static_cast<size_t>(i)];
        run([&] { editor_.setNumberFormat(p.code, p.id); });
    });
    moreDecimals_ = addCommand(QStringLiteral(".0→.00"), tr("Increase Decimal Places"), false,
                               [this] { editor_.increaseDecimal(); });
    fewerDecimals_ = addCommand(QStringLiteral(".00→.0"), tr("Decrease Decimal Places"), false,
                                [this] { editor_.decreaseDecimal(); });
    addSeparator();
    merge_ = addAction(tr("Merge"));
    merge_->setToolTip(tr("Merge or Unmerge Cells"));
    connect(merge_, &QAction::triggered, this, [this] { run([this] { editor_.toggleMergeCells(); }, true); });
    clear_ = addCommand(tr("Clear"), tr("Clear Formatting"), false, [this] { editor_.clearFormatting(); });
    refresh();
}

QAction* FormatBar::addCommand(const QString& text, const QString& tip, bool checkable,
                               std::function<void()> command) {
    QAction* action = addAction(text);
    action->setToolTip(tip);
    action->setCheckable(checkable);
    connect(action, &QAction::triggered, this, [this, command = std::move(command)] {
        if (!refreshing_) run(command);
    });
    return action;
}

void FormatBar::run(const std::function<void()>& command, bool layoutChanged) {
    command();
    emit commandRan(layoutChanged);
    refresh();
}

void FormatBar::applyFontColor(std::optional<QString> hex) {
    run([&] { editor_.setFontColor(hex ? std::optional<std::string>(hex->toStdString()) : std::nullopt); });
}

void FormatBar::applyFillColor(std::optional<QString> hex) {
    run([&] { editor_.setFillColor(hex ? std::optional<std::string>(hex->toStdString()) : std::nullopt); });
}

QToolButton* FormatBar::addColorButton(const QString& letter, const QString& tip, bool fill) {
    auto* button = new QToolButton(this);
    button->setToolTip(tip);
    button->setPopupMode(QToolButton::InstantPopup);
    const QColor shown = fill ? QColor(0xFF, 0xFF, 0x00) : QColor(0xFF, 0x00, 0x00);
    button->setIcon(swatch(shown, fill ? QStringLiteral("◧") : letter));
    auto* menu = new QMenu(button);
    auto apply = [this, fill](std::optional<QString> hex) {
        fill ? applyFillColor(hex) : applyFontColor(hex);
    };
    menu->addAction(fill ? tr("No Fill") : tr("Automatic"), this, [apply] { apply(std::nullopt); });
    for (const QColor& c : colorChoices())
        menu->addAction(swatch(c, QString()), hexOf(c), this, [apply, c] { apply(hexOf(c)); });
    menu->addAction(tr("More Colours…"), this, [this, apply, tip] {
        const QColor c = QColorDialog::getColor(Qt::white, this, tip);
        if (c.isValid()) apply(hexOf(c));
    });
    button->setMenu(menu);
    addWidget(button);
    return button;
}

QToolButton* FormatBar::addBordersButton() {
    auto* button = new QToolButton(this);
    button->setText(tr("Borders"));
    button->setToolTip(tr("Borders"));
    button->setPopupMode(QToolButton::InstantPopup);
    auto* menu = new QMenu(button);
    auto add = [&](const QString& text, bool t, bool b, bool l, bool r, bool thick) {
        menu->addAction(text, this, [=, this] { run([&] { editor_.setBorders(t, b, l, r, thick); }); });
    };
    add(tr("All Borders"), true, true, true, true, false);
    add(tr("Top Border"), true, false, false, false, false);
    add(tr("Bottom Border"), false, true, false, false, false);
    add(tr("Left Border"), false, false, true, false, false);
    add(tr("Right Border"), false, false, false, true, false);
    add(tr("Thick Bottom Border"), false, false, false, false, true);
    add(tr("No Border"), false, false, false, false, false);
    button->setMenu(menu);
    addWidget(button);
    return button;
}

void FormatBar::refresh() {
    refreshing_ = true;
    CellFormat format;
    if (const Sheet* sheet = editor_.activeSheet(); sheet && editor_.activeCell)
        format = sheet->cell(editor_.activeCell->row, editor_.activeCell->col).format();
    bold_->setChecked(format.isBold);
    italic_->setChecked(format.isItalic);
    underline_->setChecked(format.isUnderline);
    strike_->setChecked(format.isStrikethrough);
    wrap_->setChecked(format.wrapText);
    alignLeft_->setChecked(format.alignment == CellAlignment::left);
    alignCenter_->setChecked(format.alignment == CellAlignment::center);
    alignRight_->setChecked(format.alignment == CellAlignment::right);

    const Settings& settings = Settings::instance();
    const QString family = format.fontName ? QString::fromStdString(*format.fontName)
                                           : settings.text(settingsKey::defaultFontName);
    font_->setCurrentFont(QFont(FontResolver::instance().family(family)));
    const double points = format.fontSize.value_or(settings.real(settingsKey::defaultFontSize));
    size_->setCurrentText(QString::number(points));

    int presetIndex = -1;
    const auto& presets = numberFormatPresets();
    for (size_t i = 0; i < presets.size(); ++i)
        if (presets[i].code == format.numberFormat) presetIndex = static_cast<int>(i);
    if (presetIndex < 0) presetIndex = format.numberFormat ? static_cast<int>(presets.size()) : 0;
    numberFormat_->setCurrentIndex(presetIndex);
    refreshing_ = false;
}

} // namespace sumora::app
