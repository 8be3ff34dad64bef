// The question before a save that will not keep everything: the real box
// lists the losses; "Save anyway" saves and is not asked again for that
// format, "Keep using XLSX" saves nothing and opens the save panel on XLSX.
#include <QFileDialog>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>

#include "AppTestSupport.h"

using namespace sumora;
using namespace sumora::app;
using namespace sumora::app::test;

namespace {

// Answers the next modal box by clicking the button with this text, and
// returns what it said; `then` runs after the click (for a box that follows).
void answerNextBox(const QString& button, QString* said, std::function<void()> then = {}) {
    QTimer::singleShot(0, [=] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        QVERIFY(box);
        *said = box->text() + QLatin1Char('\n') + box->informativeText();
        for (QAbstractButton* b : box->buttons())
            if (b->text() == button) {
                if (then) QTimer::singleShot(0, then);
                b->click();
                return;
            }
        QFAIL(qPrintable(QStringLiteral("no button ") + button));
    });
}

SumoraDocument twoSheets() {
    SumoraDocument doc;
    doc.sheets[0].cellForWriting(0, 0).setValue("7");
    doc.sheets.push_back(SumoraDocument::makeNewSheet("Second"));
    return doc;
}

} // namespace

class SaveLossesDialogTest : public QObject {
    Q_OBJECT

    QTemporaryDir dir;
    QList<MainWindow*> opened;

    MainWindow* show(SumoraDocument doc) {
        opened << openWindow(std::move(doc));
        return opened.back();
    }

  private slots:
    void initTestCase() {
        isolateUserData(dir);
        // The real box, not the captured answer.
        setAlertHandlers({[](const QString& title, const QString& message) {
                              alerts().titles << title;
                              alerts().messages << message;
                          },
                          {},
                          {},
                          {}});
    }
    void cleanup() {
        for (MainWindow* w : opened)
            discardWindow(w);
        opened.clear();
    }

    void saveAnywaySavesAndIsAskedOncePerFormat() {
        MainWindow* window = show(twoSheets());
        const QString csv = dir.filePath(QStringLiteral("out.csv"));
        QString said;
        answerNextBox(QStringLiteral("Save anyway"), &said);
        QVERIFY(window->saveTo(csv, FileType::csv));
        QVERIFY(said.contains(QStringLiteral("not be kept in CSV")));
        QVERIFY(
            said.contains(QStringLiteral("CSV keeps only the first sheet; \"Second\" will not be saved.")));
        QVERIFY(QFile::exists(csv));

        // Accepted for CSV: saving again asks nothing (a box would wait here).
        QFile::remove(csv);
        QVERIFY(window->saveTo(csv, FileType::csv));
        QVERIFY(QFile::exists(csv));
    }

    void keepUsingXlsxSavesNothingAndOffersXlsx() {
        const QString ods = dir.filePath(QStringLiteral("out.ods"));
        SumoraDocument doc = twoSheets();
        doc.sheets[0].mergedRegions.push_back({0, 0, 1, 0});
        MainWindow* merged = show(doc);
        QString said, filter;
        answerNextBox(QStringLiteral("Keep using XLSX"), &said, [&filter] {
            auto* panel = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            QVERIFY(panel);
            filter = panel->selectedNameFilter();
            panel->reject();
        });
        QVERIFY(!merged->saveTo(ods, FileType::ods));
        QVERIFY(said.contains(QStringLiteral("Merged cells (1) will not be kept in ODS.")));
        QVERIFY(filter.contains(QStringLiteral("*.xlsx")));
        QVERIFY(!QFile::exists(ods));
    }
};

QTEST_MAIN(SaveLossesDialogTest)
#include "SaveLossesDialogTest.moc"
