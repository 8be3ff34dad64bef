#include "app/SettingsWindow.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFontDatabase>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QTabWidget>
#include <QVBoxLayout>

#include "app/Settings.h"

namespace sumora::app {

namespace {

Settings& settings() {
    return Settings::instance();
}

// A combo box whose items carry the stored values.
QComboBox* choiceBox(QWidget* parent, const QList<QPair<QString, QString>>& labelsAndValues) {
    auto* box = new QComboBox(parent);
    for (const auto& [label, value] : labelsAndValues)
        box->addItem(label, value);
    return box;
}

void showChoice(QComboBox* box, const QString& value) {
    QSignalBlocker block(box);
    const int i = box->findData(value);
    if (i >= 0) {
        box->setCurrentIndex(i);
    } else if (box->isEditable()) {
        box->setEditText(value);
    }
}

} // namespace

SettingsWindow::SettingsWindow(QWidget* parent) : QDialog(parent), sections_(new QTabWidget(this)) {
    setObjectName(QStringLiteral("settingsWindow"));
    setWindowTitle(tr("Settings"));
    auto* layout = new QVBoxLayout(this);
    sections_->addTab(buildGeneral(), tr("General"));
    sections_->addTab(buildGrid(), tr("Grid"));
    sections_->addTab(buildFormat(), tr("Format"));
    layout->addWidget(sections_);
    auto* close = new QPushButton(tr("Done"), this);
    connect(close, &QPushButton::clicked, this, &QDialog::accept);
    layout->addWidget(close, 0, Qt::AlignRight);
    connect(&settings(), &Settings::changed, this, [this](const QString& key) {
        if (auto show = shows_.value(key)) show();
    });
    resize(520, 380);
}

void SettingsWindow::showShared(QWidget* parent) {
    static QPointer<SettingsWindow> window;
    if (!window) {
        window = new SettingsWindow(parent);
        window->setAttribute(Qt::WA_DeleteOnClose);
    }
    window->show();
    window->raise();
    window->activateWindow();
}

void SettingsWindow::bind(const QString& key, QWidget* control, std::function<void()> show) {
    control->setObjectName(key);
    controls_.insert(key, control);
    shows_.insert(key, show);
    show();
}

QWidget* SettingsWindow::buildGeneral() {
    auto* page = new QWidget(this);
    auto* form = new QFormLayout(page);

    auto* behaviour = new QWidget(page);
    auto* behaviourLayout = new QVBoxLayout(behaviour);
    behaviourLayout->setContentsMargins(0, 0, 0, 0);
    auto* blank = new QRadioButton(tr("Create blank spreadsheet"), behaviour);
    auto* open = new QRadioButton(tr("Show Open dialog"), behaviour);
    behaviourLayout->addWidget(blank);
    behaviourLayout->addWidget(open);
    auto* group = new QButtonGroup(behaviour);
    group->addButton(blank);
    group->addButton(open);
    connect(blank, &QRadioButton::toggled, this, [](bool on) {
        if (on) settings().setValue(settingsKey::newWindowBehavior, QStringLiteral("blank"));
    });
    connect(open, &QRadioButton::toggled, this, [](bool on) {
        if (on) settings().setValue(settingsKey::newWindowBehavior, QStringLiteral("openDialog"));
    });
    bind(settingsKey::newWindowBehavior, behaviour, [blank, open] {
        const bool isBlank = settings().text(settingsKey::newWindowBehavior) != QLatin1String("openDialog");
        QSignalBlocker a(blank), b(open);
        blank->setChecked(isBlank);
        open->setChecked(!isBlank);
    });
    form->addRow(tr("New windows:"), behaviour);

    auto* zoom = new QSpinBox(page);
    zoom->setRange(25, 400);
    zoom->setSuffix(QStringLiteral(" %"));
    connect(zoom, &QSpinBox::valueChanged, this,
            [](int v) { settings().setValue(settingsKey::defaultZoom, v); });
    bind(settingsKey::defaultZoom, zoom, [zoom] {
        QSignalBlocker block(zoom);
        zoom->setValue(settings().integer(settingsKey::defaultZoom));
    });
    form->addRow(tr("Default zoom:"), zoom);

    auto* fade = new QCheckBox(tr("Fade toolbar while typing"), page);
    connect(fade, &QCheckBox::toggled, this,
            [](bool on) { settings().setValue(settingsKey::fadeToolbarWhileTyping, on); });
    bind(settingsKey::fadeToolbarWhileTyping, fade, [fade] {
        QSignalBlocker block(fade);
        fade->setChecked(settings().flag(settingsKey::fadeToolbarWhileTyping));
    });
    form->addRow(QString(), fade);

    auto* autosave = new QDoubleSpinBox(page);
    autosave->setRange(0, 3600);
    autosave->setDecimals(0);
    autosave->setSuffix(tr(" seconds"));
    autosave->setSpecialValueText(tr("Off"));
    connect(autosave, &QDoubleSpinBox::valueChanged, this,
            [](double v) { settings().setValue(settingsKey::autoSaveInterval, v); });
    bind(settingsKey::autoSaveInterval, autosave, [autosave] {
        QSignalBlocker block(autosave);
        autosave->setValue(settings().real(settingsKey::autoSaveInterval));
    });
    form->addRow(tr("Auto-save interval:"), autosave);
    return page;
}

QWidget* SettingsWindow::buildGrid() {
    auto* page = new QWidget(this);
    auto* form = new QFormLayout(page);

    auto* lines = new QCheckBox(tr("Show grid lines"), page);
    connect(lines, &QCheckBox::toggled, this,
            [](bool on) { settings().setValue(settingsKey::showGridLines, on); });
    bind(settingsKey::showGridLines, lines, [lines] {
        QSignalBlocker block(lines);
        lines->setChecked(settings().flag(settingsKey::showGridLines));
    });
    form->addRow(QString(), lines);

    auto* color = new QPushButton(page);
    connect(color, &QPushButton::clicked, this, [this] {
        const QColor c = QColorDialog::getColor(settings().gridLineColor(), this, tr("Grid Line Colour"));
        if (c.isValid()) settings().setValue(settingsKey::gridLineColorHex, c.name().mid(1).toUpper());
    });
    bind(settingsKey::gridLineColorHex, color, [color] {
        const QColor c = settings().gridLineColor();
        color->setText(c.name().mid(1).toUpper());
        color->setStyleSheet(
            QStringLiteral("QPushButton { border-left: 14px solid %1; padding: 2px 8px; }").arg(c.name()));
    });
    form->addRow(tr("Grid line colour:"), color);

    auto* headers = new QCheckBox(tr("Show row and column headers"), page);
    connect(headers, &QCheckBox::toggled, this,
            [](bool on) { settings().setValue(settingsKey::showRowColHeaders, on); });
    bind(settingsKey::showRowColHeaders, headers, [headers] {
        QSignalBlocker block(headers);
        headers->setChecked(settings().flag(settingsKey::showRowColHeaders));
    });
    form->addRow(QString(), headers);

    auto* width = new QDoubleSpinBox(page);
    width->setRange(20, 1000);
    width->setDecimals(0);
    width->setSuffix(tr(" px"));
    connect(width, &QDoubleSpinBox::valueChanged, this,
            [](double v) { settings().setValue(settingsKey::defaultColumnWidth, v); });
    bind(settingsKey::defaultColumnWidth, width, [width] {
        QSignalBlocker block(width);
        width->setValue(settings().real(settingsKey::defaultColumnWidth));
    });
    form->addRow(tr("Default column width"), width);
    return page;
}

QWidget* SettingsWindow::buildFormat() {
    auto* page = new QWidget(this);
    auto* form = new QFormLayout(page);

    auto* font = new QComboBox(page);
    font->setEditable(true);
    font->addItems(QFontDatabase::families());
    for (int i = 0; i < font->count(); ++i)
        font->setItemData(i, font->itemText(i));
    auto storeFont = [](const QString& family) {
        if (!family.trimmed().isEmpty()) settings().setValue(settingsKey::defaultFontName, family.trimmed());
    };
    connect(font, &QComboBox::textActivated, this, storeFont);
    connect(font->lineEdit(), &QLineEdit::editingFinished, this,
            [font, storeFont] { storeFont(font->currentText()); });
    bind(settingsKey::defaultFontName, font,
         [font] { showChoice(font, settings().text(settingsKey::defaultFontName)); });
    form->addRow(tr("Default font:"), font);

    auto* size = new QDoubleSpinBox(page);
    size->setRange(6, 72);
    size->setDecimals(1);
    size->setSuffix(tr(" pt"));
    connect(size, &QDoubleSpinBox::valueChanged, this,
            [](double v) { settings().setValue(settingsKey::defaultFontSize, v); });
    bind(settingsKey::defaultFontSize, size, [size] {
        QSignalBlocker block(size);
        size->setValue(settings().real(settingsKey::defaultFontSize));
    });
    form->addRow(tr("Default font size:"), size);

    auto* number = choiceBox(page, {{tr("General"), QStringLiteral("General")},
                                    {QStringLiteral("0"), QStringLiteral("0")},
                                    {QStringLiteral("0.00"), QStringLiteral("0.00")},
                                    {QStringLiteral("#,##0"), QStringLiteral("#,##0")},
                                    {QStringLiteral("#,##0.00"), QStringLiteral("#,##0.00")},
                                    {QStringLiteral("0%"), QStringLiteral("0%")},
                                    {QStringLiteral("0.00%"), QStringLiteral("0.00%")},
                                    {QStringLiteral("$#,##0.00"), QStringLiteral("$#,##0.00")},
                                    {QStringLiteral("yyyy-mm-dd"), QStringLiteral("yyyy-mm-dd")}});
    connect(number, &QComboBox::activated, this,
            [number](int i) { settings().setValue(settingsKey::defaultNumberFormat, number->itemData(i)); });
    bind(settingsKey::defaultNumberFormat, number,
         [number] { showChoice(number, settings().text(settingsKey::defaultNumberFormat)); });
    form->addRow(tr("Default number format:"), number);

    auto* fileFormat = choiceBox(page, {{QStringLiteral("XLSX"), QStringLiteral("xlsx")},
                                        {QStringLiteral("ODS"), QStringLiteral("ods")},
                                        {QStringLiteral("CSV"), QStringLiteral("csv")}});
    connect(fileFormat, &QComboBox::activated, this, [fileFormat](int i) {
        settings().setValue(settingsKey::defaultFileFormat, fileFormat->itemData(i));
    });
    bind(settingsKey::defaultFileFormat, fileFormat,
         [fileFormat] { showChoice(fileFormat, settings().text(settingsKey::defaultFileFormat)); });
    form->addRow(tr("Default save format"), fileFormat);
    auto* explanation = new QLabel(
        tr("XLSX preserves formulas, styles, and multiple sheets. CSV is plain text with no formatting."),
        page);
    explanation->setWordWrap(true);
    explanation->setStyleSheet(QStringLiteral("color: #555;"));
    form->addRow(QString(), explanation);

    auto* separator = choiceBox(page, {{tr("Comma"), QStringLiteral("comma")},
                                       {tr("Semicolon"), QStringLiteral("semicolon")},
                                       {tr("Tab"), QStringLiteral("tab")}});
    connect(separator, &QComboBox::activated, this,
            [separator](int i) { settings().setValue(settingsKey::csvSeparator, separator->itemData(i)); });
    bind(settingsKey::csvSeparator, separator,
         [separator] { showChoice(separator, settings().text(settingsKey::csvSeparator)); });
    form->addRow(tr("Column separator"), separator);

    auto* unit = choiceBox(
        page, {{tr("Inches (in)"), QStringLiteral("in")}, {tr("Centimeters (cm)"), QStringLiteral("cm")}});
    connect(unit, &QComboBox::activated, this,
            [unit](int i) { settings().setValue(settingsKey::measurementUnit, unit->itemData(i)); });
    bind(settingsKey::measurementUnit, unit,
         [unit] { showChoice(unit, settings().text(settingsKey::measurementUnit)); });
    form->addRow(tr("Measurement unit:"), unit);
    return page;
}

} // namespace sumora::app
