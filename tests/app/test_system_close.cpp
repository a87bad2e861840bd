// Closing by the system: the real workbench in a child process, ended by a
// signal, keeps its settings; in this process a signal runs the exit without
// its question and keeps a changed image for the next start.

#include <signal.h>
#include <sys/types.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QMessageBox>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "app/qt_host.h"
#include "app/system_close.h"
#include "core/document_recovery.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "image/form_camera.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/worksheet_documents.h"
#include "support/queue_host.h"

namespace {

// The workbench built beside this test: build/tests/app -> build/src/app.
QString WorkbenchBinary() {
  const QByteArray given = qgetenv("SV4200_BINARY");
  if (!given.isEmpty()) return QString::fromLocal8Bit(given);
  return QDir::cleanPath(QCoreApplication::applicationDirPath() + "/../../src/app/sv4200");
}

// The signals a process catches, from its status in /proc.
bool Catches(qint64 pid, int signo) {
  std::ifstream status("/proc/" + std::to_string(pid) + "/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind("SigCgt:", 0) != 0) continue;
    const unsigned long long mask = std::stoull(line.substr(7), nullptr, 16);
    return (mask >> (signo - 1)) & 1u;
  }
  return false;
}

std::string Slurp(const QString& path) {
  std::ifstream in(path.toStdString());
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

}  // namespace

class SystemCloseTest : public QObject {
  Q_OBJECT

  // The workbench in a child with a home and config folder of its own,
  // started and waited for until it handles `signo`.
  bool StartChild(QProcess& child, const QTemporaryDir& dir, int signo = SIGTERM) {
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("HOME", dir.filePath("home"));
    env.insert("XDG_CONFIG_HOME", dir.filePath("config"));
    env.insert("QT_QPA_PLATFORM", "offscreen");
    QDir().mkpath(dir.filePath("home"));
    child.setProcessEnvironment(env);
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(WorkbenchBinary(), {"/B"});
    if (!child.waitForStarted(30000)) return false;
    // Polls the child's own state, no fixed delay: ready once the handler is in.
    for (int i = 0; i < 3000 && child.state() == QProcess::Running; ++i) {
      if (Catches(child.processId(), signo)) return true;
      QTest::qWait(10);
    }
    return false;
  }
  QString Config(const QTemporaryDir& dir, const QString& name) {
    return dir.filePath("config/sv4200/" + name);
  }
  QString IniFileIn(const QTemporaryDir& dir) {
    const QStringList inis =
        QDir(dir.filePath("config/sv4200")).entryList({"SV4200*.ini"}, QDir::Files);
    return inis.isEmpty() ? QString() : Config(dir, inis.first());
  }

 private slots:
  void initTestCase() {
    QVERIFY2(QFile::exists(WorkbenchBinary()), qPrintable(WorkbenchBinary() + " is not built"));
  }

  void aSignalToEndWritesTheSettingsOfTheSession() {
    for (int signo : {SIGTERM, SIGHUP, SIGINT}) {
      QTemporaryDir dir;
      QProcess child;
      QVERIFY2(StartChild(child, dir, signo), strsignal(signo));
      QVERIFY(!QFile::exists(Config(dir, "user-sv4200.ini")));
      ::kill(pid_t(child.processId()), signo);
      QVERIFY(child.waitForFinished(60000));
      QCOMPARE(child.exitStatus(), QProcess::NormalExit);
      QCOMPARE(child.exitCode(), 0);
      // The grabber the first start chose is kept, and the ini file written.
      const std::string store = Slurp(Config(dir, "user-sv4200.ini"));
      QVERIFY2(store.find("Grabber=DummyGrb") != std::string::npos, store.c_str());
      QVERIFY2(!IniFileIn(dir).isEmpty(), strsignal(signo));
      QVERIFY(Slurp(IniFileIn(dir)).find("[Main]") != std::string::npos);
      QVERIFY2(!QDir(Config(dir, "recovery")).exists(), "nothing changed, nothing kept");
    }
  }

  void aKillLosesTheSessionAndTheNextStartRuns() {
    QTemporaryDir dir;
    {
      QProcess child;
      QVERIFY(StartChild(child, dir));
      child.kill();  // SIGKILL: nothing can run
      QVERIFY(child.waitForFinished(30000));
      QCOMPARE(child.exitStatus(), QProcess::CrashExit);
    }
    QVERIFY(!QFile::exists(Config(dir, "user-sv4200.ini")));
    // Again a first start, which comes up and closes as it should.
    QProcess child;
    QVERIFY(StartChild(child, dir));
    child.terminate();
    QVERIFY(child.waitForFinished(60000));
    QCOMPARE(child.exitStatus(), QProcess::NormalExit);
    QCOMPARE(child.exitCode(), 0);
    QVERIFY(Slurp(Config(dir, "user-sv4200.ini")).find("Grabber=DummyGrb") != std::string::npos);
  }

  void anOpenBoxIsClosedUnansweredAndTheExitRuns() {
    sv::test::QueueHost host;
    sv::G().IniFile = "SV4200_tester.ini";
    sv::MDIForm_Main main;
    sv::SetMainForm(&main);
    sv::app::SystemClose close(main, nullptr);
    close.Started();
    QMessageBox box(QMessageBox::Question, "Open", "Waiting for an answer", QMessageBox::Yes | QMessageBox::No);
    QTimer::singleShot(0, [] { ::raise(SIGHUP); });
    box.exec();  // returns once the signal has closed it
    QVERIFY(!box.isVisible());
    QTRY_VERIFY_WITH_TIMEOUT(main.Closed(), 30000);
    QVERIFY(QFile::exists(QString::fromStdString(host.configFolder + "/SV4200_tester.ini")));
    sv::SetMainForm(nullptr);
    sv::ResetGlobals();
  }

  void boxesOfTheSystemsExitAnswerThemselves() {
    QTemporaryDir dir;
    qputenv("XDG_CONFIG_HOME", dir.filePath("config").toLocal8Bit());
    sv::app::QtHost host;
    sv::SetHost(&host);
    sv::G().IniFile = dir.filePath("SV4200_tester.ini").toStdString();
    sv::MsgResult answer = sv::MsgResult::Yes;
    {
      sv::MDIForm_Main main;
      sv::SetMainForm(&main);
      main.exitHooks.shutdown.push_back([&] {
        answer = sv::host().MsgBox("Park the gun first?", sv::MsgButtons::YesNo,
                                   sv::MsgIcon::Question, "Shutdown");
      });
      sv::app::SystemClose close(main, nullptr);
      close.Started();
      ::raise(SIGTERM);
      QTRY_VERIFY_WITH_TIMEOUT(main.Closed(), 30000);  // no box waited for an answer
      sv::SetMainForm(nullptr);
    }
    QCOMPARE(int(answer), int(sv::MsgResult::No));
    QVERIFY(host.Unattended());
    QVERIFY(QFile::exists(dir.filePath("SV4200_tester.ini")));
    sv::SetHost(nullptr);
    sv::ResetGlobals();
    qunsetenv("XDG_CONFIG_HOME");
  }

  void aSignalKeepsAChangedImageForTheNextStart() {
    sv::test::QueueHost host;
    sv::G().IniFile = "SV4200_tester.ini";
    sv::G().ShowExitDialog = 1;
    sv::G().ImagesPath = host.homeFolder + "/Images/";
    std::vector<uint16_t> pixels;
    {
      sv::MDIForm_Main main;
      sv::SetMainForm(&main);
      sv::RegisterImageDocuments(main);
      sv::app::InstallRecoveryWriters();
      auto* image = dynamic_cast<sv::Form_Camera*>(main.CreateImage());
      QVERIFY(image);
      image->MakeTestImage(64, 48);
      image->SetChanged(true);
      pixels.assign(image->ImagePtr(), image->ImagePtr() + 64 * 48);
      main.CreateImage();  // unchanged: nothing to keep
      sv::RegisterWorksheetDocuments(main);
      auto* sheet = dynamic_cast<sv::Form_Worksheet*>(main.CreateWorksheet());
      QVERIFY(sheet);
      sheet->Rows(3);
      sheet->Cols(3);
      sheet->TextMatrix(1, 1, sv::Cell(42.5f));
      QCOMPARE(sheet->TextMatrix(1, 1).Number(), 42.5);
      sheet->SetChanged();

      sv::app::SystemClose close(main, nullptr);
      close.Started();
      ::raise(SIGTERM);  // the handler only writes to its pipe
      QTRY_VERIFY_WITH_TIMEOUT(main.Closed(), 30000);
      QVERIFY(host.messages.empty());  // neither the exit question nor the image's
      sv::SetMainForm(nullptr);
    }
    QVERIFY(QFile::exists(QString::fromStdString(host.configFolder + "/SV4200_tester.ini")));
    const std::vector<std::string> kept = sv::RecoveredFiles();
    QCOMPARE(kept.size(), size_t(2));
    QCOMPARE(std::filesystem::path(kept[0]).filename().string(), std::string("Data1.sht"));
    QCOMPARE(std::filesystem::path(kept[1]).filename().string(), std::string("Image1.t16"));

    // The next start asks, and Yes brings the image back into the image folder.
    sv::MDIForm_Main next;
    sv::SetMainForm(&next);
    sv::RegisterImageDocuments(next);
    sv::RegisterWorksheetDocuments(next);
    sv::G().SheetsPath = host.homeFolder + "/Worksheets/";
    next.Load();
    next.SetCommand("mnuOpenWorksheet", [](int) {});
    next.SetCommand("mnuOpenImage", [](int) {});
    host.queue.push_back(sv::MsgResult::Yes);
    sv::OfferDocumentRecovery(next);
    QCOMPARE(host.messages.size(), size_t(1));
    QCOMPARE(host.messages[0].title, std::string(sv::kRecoverDocumentsTitle));
    auto* back = dynamic_cast<sv::Form_Camera*>(next.ActiveChild());
    QVERIFY(back);
    QCOMPARE(back->Filename, host.homeFolder + "/Images/Image1_recovered.t16");
    QCOMPARE(std::tuple(back->ImageWidth(), back->ImageHeight()), std::tuple(64L, 48L));
    QVERIFY(std::equal(pixels.begin(), pixels.end(), back->ImagePtr()));
    QVERIFY(sv::RecoveredFiles().empty());
    sv::Form_Worksheet* sheetBack = nullptr;
    for (sv::ChildDocument* doc : next.Documents())
      if (auto* s = dynamic_cast<sv::Form_Worksheet*>(doc)) sheetBack = s;
    QVERIFY(sheetBack);
    // A sheet's name is kept in capitals, as ever.
    QCOMPARE(QString::fromStdString(sheetBack->Filename()).toLower(),
             QString::fromStdString(host.homeFolder + "/Worksheets/Data1_recovered.sht").toLower());
    QCOMPARE(sheetBack->TextMatrix(1, 1).Number(), 42.5);
    sv::SetMainForm(nullptr);
    sv::ClearRecoveryWriters();
  }
};

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  SystemCloseTest test;
  return QTest::qExec(&test, argc, argv);
}

#include "test_system_close.moc"
