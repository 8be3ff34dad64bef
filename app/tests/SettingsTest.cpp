// The preferences on a fresh store, their persistence, the settings window's
// controls and wordings, and the views bound to the keys.
#include <QCheckBox>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QRadioButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTabWidget>

#include "AppTestSupport.h"
#include "app/FontResolver.h"
#include "app/Settings.h"
#include "app/SettingsWindow.h"

using namespace sumora;
using namespace sumora::app;
using namespace sumora::app::test;

class SettingsTest : public QObject {
    Q_OBJECT

    Settings& settings() { return Settings::instance(); }

    bool windowShowsText(QWidget* window, const QString& text) {
        for (auto* label : window->findChildren<QLabel*>())
            if (label->text() == text) return true;
        for (auto* button : window->findChildren<QAbstractButton*>())
            if (button->text() == text) return true;
        for (auto* box : window->findChildren<QComboBox*>())
            if (box->findText(text) >= 0) return true;
        return false;
    }

  private slots:
    void init() {
        for (const QString& key : Settings::keys())
            settings().reset(key);
    }

    void everyKeyReadsItsDefaultOnAFreshStore_data() {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QVariant>("expected");
        QTest::newRow("newWindowBehavior")
            << settingsKey::newWindowBehavior << QVariant(QStringLiteral("blank"));
        QTest::newRow("defaultZoom") << settingsKey::defaultZoom << QVariant(100);
        QTest::newRow("fadeToolbarWhileTyping") << settingsKey::fadeToolbarWhileTyping << QVariant(true);
        QTest::newRow("autoSaveInterval") << settingsKey::autoSaveInterval << QVariant(30.0);
        QTest::newRow("defaultFontName")
            << settingsKey::defaultFontName << QVariant(QStringLiteral("SF Mono"));
        QTest::newRow("defaultFontSize") << settingsKey::defaultFontSize << QVariant(12.0);
        QTest::newRow("showGridLines") << settingsKey::showGridLines << QVariant(true);
        QTest::newRow("showRowColHeaders") << settingsKey::showRowColHeaders << QVariant(true);
        QTest::newRow("defaultColumnWidth") << settingsKey::defaultColumnWidth << QVariant(100.0);
        QTest::newRow("defaultNumberFormat")
            << settingsKey::defaultNumberFormat << QVariant(QStringLiteral("General"));
        QTest::newRow("defaultFileFormat")
            << settingsKey::defaultFileFormat << QVariant(QStringLiteral("xlsx"));
        QTest::newRow("csvSeparator") << settingsKey::csvSeparator << QVariant(QStringLiteral("comma"));
        QTest::newRow("measurementUnit") << settingsKey::measurementUnit << QVariant(QStringLiteral("in"));
        QTest::newRow("gridLineColorHex")
            << settingsKey::gridLineColorHex << QVariant(QStringLiteral("D2D2D7"));
    }
    void everyKeyReadsItsDefaultOnAFreshStore() {
        QFETCH(QString, key);
        QFETCH(QVariant, expected);
        QCOMPARE(settings().value(key), expected);
        QCOMPARE(Settings::keys().size(), 14);
    }

    void writtenValuesPersistWithTheirTypeAndAnnounceTheChange() {
        QSignalSpy spy(&settings(), &Settings::changed);
        settings().setValue(settingsKey::defaultZoom, QStringLiteral("150"));
        QCOMPARE(settings().value(settingsKey::defaultZoom), QVariant(150));
        QCOMPARE(spy.count(), 1);
        QCOMPARE(spy.at(0).at(0).toString(), settingsKey::defaultZoom);
        // Writing the same value again is no change.
        settings().setValue(settingsKey::defaultZoom, 150);
        QCOMPARE(spy.count(), 1);
        QCOMPARE(QSettings(QStringLiteral("Sumora"), QStringLiteral("Sumora"))
                     .value(settingsKey::defaultZoom)
                     .toInt(),
                 150);
        settings().reset(settingsKey::defaultZoom);
        QCOMPARE(settings().integer(settingsKey::defaultZoom), 100);
    }

    void windowHasTheThreeSectionsAndTheWordings() {
        SettingsWindow window;
        QCOMPARE(window.sections()->count(), 3);
        QCOMPARE(window.sections()->tabText(0), QStringLiteral("General"));
        QCOMPARE(window.sections()->tabText(1), QStringLiteral("Grid"));
        QCOMPARE(window.sections()->tabText(2), QStringLiteral("Format"));
        for (const char* text :
             {"Create blank spreadsheet", "Show Open dialog", "Fade toolbar while typing",
              "Show row and column headers", "Default column width", "Default save format",
              "XLSX preserves formulas, styles, and multiple sheets. CSV is plain text with no formatting.",
              "Column separator", "Centimeters (cm)"})
            QVERIFY2(windowShowsText(&window, QString::fromUtf8(text)), text);
    }

    void controlsWriteTheirKeysAndFollowChanges() {
        SettingsWindow window;
        auto* headers = qobject_cast<QCheckBox*>(window.control(settingsKey::showRowColHeaders));
        QVERIFY(headers && headers->isChecked());
        headers->click();
        QCOMPARE(settings().flag(settingsKey::showRowColHeaders), false);

        auto* unit = qobject_cast<QComboBox*>(window.control(settingsKey::measurementUnit));
        unit->setCurrentIndex(unit->findData(QStringLiteral("cm")));
        emit unit->activated(unit->currentIndex());
        QCOMPARE(settings().measurementUnit(), QStringLiteral("cm"));

        settings().setValue(settingsKey::defaultZoom, 175);
        QCOMPARE(qobject_cast<QSpinBox*>(window.control(settingsKey::defaultZoom))->value(), 175);

        auto* open = window.control(settingsKey::newWindowBehavior)->findChildren<QRadioButton*>().at(1);
        open->click();
        QCOMPARE(settings().text(settingsKey::newWindowBehavior), QStringLiteral("openDialog"));
    }

    void gridFollowsItsKeys() {
        MainWindow* window = openWindow();
        SheetGridView* grid = window->grid();
        QVERIFY(grid->horizontalHeader()->isVisible());
        settings().setValue(settingsKey::showRowColHeaders, false);
        QVERIFY(!grid->horizontalHeader()->isVisible());
        QVERIFY(!grid->verticalHeader()->isVisible());
        settings().setValue(settingsKey::showGridLines, false);
        QVERIFY(!grid->showGrid());
        settings().setValue(settingsKey::gridLineColorHex, QStringLiteral("FF0000"));
        QVERIFY(grid->styleSheet().contains(QStringLiteral("#ff0000")));
        settings().setValue(settingsKey::defaultColumnWidth, 150.0);
        QCOMPARE(grid->columnWidth(3), 150);
        settings().setValue(settingsKey::defaultNumberFormat, QStringLiteral("0.00"));
        window->editor().setCellValue({0, 0}, "3");
        window->documentChanged();
        QCOMPARE(shown(window, 0, 0), QStringLiteral("3.00"));
        discardWindow(window);
    }

    void defaultZoomAppliesToNewWindows() {
        settings().setValue(settingsKey::defaultZoom, 150);
        MainWindow* window = openWindow();
        QCOMPARE(window->grid()->zoom(), 1.5);
        QCOMPARE(window->grid()->verticalHeader()->defaultSectionSize(), 33);
        discardWindow(window);
    }

    void missingFontFallsBackOnceWithoutAWarningStorm() {
        FontResolver& fonts = FontResolver::instance();
        const int before = fonts.fallbackCount();
        const QString family = fonts.family(QStringLiteral("No Such Font Family 7"));
        QVERIFY(family != QStringLiteral("No Such Font Family 7"));
        for (int i = 0; i < 100; ++i)
            QCOMPARE(fonts.family(QStringLiteral("No Such Font Family 7")), family);
        QCOMPARE(fonts.fallbackCount(), before + 1);
    }
};

SUMORA_APP_TEST_MAIN(SettingsTest)
#include "SettingsTest.moc"
