// Autosave to recovery files and their offer after a crash: a recovery copy
// is written only for unsaved work, holds the document, disappears when the
// work is saved or discarded, and a session lock left by a dead process
// brings the files back at the next launch.
#include <QDir>
#include <QFile>
#include <QSignalSpy>

#include "AppTestSupport.h"
#include "app/Autosave.h"
#include "app/DocumentWindows.h"
#include "formats/DocumentIO.h"

using namespace sumora;
using namespace sumora::app;
using namespace sumora::app::test;

class RecoveryTest : public QObject {
    Q_OBJECT

  private slots:
    void cleanup() {
        RecoverySession::end();
        QDir(RecoverySession::recoveryDirectory()).removeRecursively();
        const QList<MainWindow*> open = DocumentWindows::windows();
        for (MainWindow* w : open)
            discardWindow(w);
    }

    void onlyUnsavedWorkIsWrittenAndTheCopyHoldsTheDocument() {
        MainWindow* window = openWindow();
        Autosaver* saver = window->autosaver();
        QVERIFY(!saver->saveNow()); // nothing changed yet
        window->editor().setCellValue({1, 2}, "recover me");
        window->markEdited();
        QVERIFY(saver->saveNow());
        saver->waitForWrite();
        QVERIFY(QFile::exists(saver->recoveryPath()));
        QVERIFY(saver->recoveryPath().startsWith(RecoverySession::recoveryDirectory()));
        const SumoraDocument copy = openDocumentFile(saver->recoveryPath().toStdString());
        QCOMPARE(std::string(copy.sheets[0].cell(2, 1).displayValue()), std::string("recover me"));
        QVERIFY(!saver->saveNow()); // written already, no new change

        const QString path = saver->recoveryPath();
        discardWindow(window); // closing without saving discards the copy
        QVERIFY(!QFile::exists(path));
    }

    void theIntervalSettingDrivesTheTimer() {
        MainWindow* window = openWindow();
        Autosaver* saver = window->autosaver();
        QSignalSpy written(saver, &Autosaver::recoveryWritten);
        saver->setInterval(1);
        window->editor().setCellValue({0, 0}, "1");
        window->markEdited();
        QVERIFY(written.wait(5000));
        QVERIFY(QFile::exists(written.at(0).at(0).toString()));
        discardWindow(window);
    }

    void aLockLeftByADeadSessionOffersItsFiles() {
        QVERIFY(RecoverySession::begin().isEmpty()); // a clean start
        RecoverySession::end();
        QVERIFY(RecoverySession::begin().isEmpty()); // after a clean exit

        // A crashed session: its lock names a process that no longer runs.
        RecoverySession::end();
        const QString dataDir = QFileInfo(RecoverySession::recoveryDirectory()).path();
        QFile lock(dataDir + QStringLiteral("/session.lock"));
        QVERIFY(lock.open(QIODevice::WriteOnly));
        lock.write("999999\nSumora\n\n"); // no host: this machine
        lock.close();
        SumoraDocument doc;
        doc.sheets[0].cellForWriting(0, 0).setValue("lost work");
        const QString file = RecoverySession::recoveryDirectory() + QStringLiteral("/abcd1234 Budget.xlsx");
        saveDocumentFile(doc, file.toStdString(), FileType::xlsx);

        const QStringList offered = RecoverySession::begin();
        QCOMPARE(offered, QStringList({file}));
    }

    void restoredWorkOpensAsUnsavedDocuments() {
        const QString dataDir = QFileInfo(RecoverySession::recoveryDirectory()).path();
        QDir().mkpath(RecoverySession::recoveryDirectory());
        QFile lock(dataDir + QStringLiteral("/session.lock"));
        QVERIFY(lock.open(QIODevice::WriteOnly));
        lock.write("999999\nSumora\n\n"); // no host: this machine
        lock.close();
        SumoraDocument doc;
        doc.sheets[0].cellForWriting(0, 0).setValue("lost work");
        const QString file = RecoverySession::recoveryDirectory() + QStringLiteral("/abcd1234 Budget.xlsx");
        saveDocumentFile(doc, file.toStdString(), FileType::xlsx);

        installAlertHandlers(true);
        const auto windows = DocumentWindows::startup({});
        installAlertHandlers(false);
        QCOMPARE(windows.size(), 1);
        QCOMPARE(shown(windows[0], 0, 0), QStringLiteral("lost work"));
        QVERIFY(windows[0]->isEdited());
        QCOMPARE(windows[0]->documentTitle(), QStringLiteral("Budget (Recovered)"));
        QVERIFY(!QFile::exists(file)); // the window autosaves it anew from now on
    }
};

SUMORA_APP_TEST_MAIN(RecoveryTest)
#include "RecoveryTest.moc"
