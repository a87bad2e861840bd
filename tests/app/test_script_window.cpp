// The script window on the offscreen platform: a ".scr" opened from the main
// window, a compile error that puts the caret on its line, a run on an image
// with Stop and Continue, Break pressed during a Delay, and a run-time error
// marked in the listing.

#include <QAction>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QStackedWidget>
#include <QTest>
#include <fstream>
#include <memory>

#include "app/script_window.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "image/form_camera.h"
#include "script/form_script.h"
#include "script/script_runtime.h"
#include "support/scripted_host.h"

using namespace sv;

class TestScriptWindow : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<test::ScriptedHost> host_;
  std::unique_ptr<MDIForm_Main> main_;
  Form_Camera* image_ = nullptr;

  app::ScriptWindow* Window() { return app::ScriptDialog(); }
  void Press(const char* name) {
    QAction* a = Window()->Action(name);
    QVERIFY(a);
    QVERIFY(a->isEnabled());
    a->trigger();
  }
  // Types a script into the editor, replacing what was there.
  void Type(const QString& text) {
    Window()->Editor()->selectAll();
    Window()->Editor()->insertPlainText(text);
  }
  bool ListingInFront() {
    auto* stack = qobject_cast<QStackedWidget*>(Window()->Listing()->parentWidget());
    return stack && stack->currentWidget() == Window()->Listing();
  }

 private slots:
  void init() {
    ResetGlobals();
    host_ = std::make_unique<test::ScriptedHost>();
    host_->lenient = true;
    main_ = std::make_unique<MDIForm_Main>();
    SetMainForm(main_.get());
    RegisterImageDocuments(*main_);
    main_->Load();
    app::InstallScriptWindow(*main_, nullptr);
    WorkbenchScriptRunTime().Main = main_.get();
    std::vector<uint16_t> px(16 * 8, 10);
    image_ = dynamic_cast<Form_Camera*>(main_->CreateImage());
    image_->CreateImage(16, 8, 8, px.data());
    main_->ShowChild(image_->Handle());
    ScriptForm().Unload();
  }
  void cleanup() {
    ScriptForm().Unload();
    SetMainForm(nullptr);
    main_.reset();
    host_.reset();
  }

  void opensAScriptFileFromTheMainWindow() {
    const std::string path = host_->root + "/job.scr";
    std::ofstream(path, std::ios::binary) << "// one\r\nStop\n";
    QVERIFY(main_->OpenDocument(path));
    QVERIFY(Window());
    QVERIFY(Window()->isVisible());
    QCOMPARE(Window()->windowTitle(), QString("job.scr - Script [design]"));
    QCOMPARE(Window()->Editor()->toPlainText(), QString("// one\nStop\n"));
    QCOMPARE(Window()->Action("mnuStart")->shortcut(), QKeySequence("F5"));
    Window()->close();
    QVERIFY(!ScriptForm().Loaded());
    QVERIFY(!Window()->isVisible());
  }

  void compileErrorPutsTheCaretOnItsLine() {
    ScriptForm().Show();
    Type("// a\nStop\nbogus(1)\n// d");
    const QString typed = Window()->Editor()->toPlainText();
    Press("mnuStart");
    QCOMPARE(int(host_->messages.size()), 1);
    QCOMPARE(QString::fromStdString(host_->messages[0].text),
             QString("Compile error:\r\n\r\n\"bogus\": Sub or Function not defined"));
    QVERIFY(!ListingInFront());
    QCOMPARE(Window()->Editor()->toPlainText(), typed);
    QCOMPARE(Window()->CaretLine(), 2);
    QVERIFY(Window()->windowTitle().endsWith(" [design]"));
  }

  void runsOnAnImageWithStopAndContinue() {
    ScriptForm().Show();
    Type("NegativeImage(\"\")\nStop\nNegativeImage(\"image1\")");
    Press("mnuStart");
    QVERIFY(host_->messages.empty());
    QCOMPARE(int(image_->ImagePtr()[0]), 245);
    QVERIFY(Window()->windowTitle().endsWith(" [break]"));
    QVERIFY(ListingInFront());
    QCOMPARE(Window()->Listing()->count(), 3);
    QCOMPARE(Window()->Listing()->item(0)->text(), QString("NegativeImage(\"\")"));
    QCOMPARE(Window()->Action("mnuStart")->text(), QString("&Continue"));
    QVERIFY(!Window()->Action("mnuBreak")->isEnabled());
    Press("mnuStart");
    QCOMPARE(int(image_->ImagePtr()[0]), 10);
    QVERIFY(Window()->windowTitle().endsWith(" [design]"));
    QCOMPARE(Window()->Action("mnuStart")->text(), QString("&Run"));
    // Back to the editor with a double click on the listing.
    QListWidgetItem* item = Window()->Listing()->item(1);
    emit Window()->Listing()->itemDoubleClicked(item);
    QVERIFY(!ListingInFront());
    QCOMPARE(Window()->CaretLine(), 1);
  }

  void breakDuringADelayThenContinue() {
    ScriptForm().Show();
    Type("Delay(1000)\nNegativeImage(\"\")\nNegativeImage(\"\")");
    bool broke = false;
    host_->After(50, [this, &broke] {
      QVERIFY(Window()->windowTitle().endsWith(" [run]"));
      Press("mnuBreak");
      broke = true;
    });
    Press("mnuStart");
    QVERIFY(broke);
    // The inner run went through every line; the outer one stopped at its
    // second line.
    QCOMPARE(int(image_->ImagePtr()[0]), 10);
    QVERIFY(Window()->windowTitle().endsWith(" [break]"));
    QCOMPARE(ScriptForm().ProgramCounter, 1);
    Press("mnuStart");
    QCOMPARE(int(image_->ImagePtr()[0]), 245);
    QVERIFY(Window()->windowTitle().endsWith(" [design]"));
  }

  void runTimeErrorMarksItsLine() {
    ScriptForm().Show();
    Type("// a\nEdge(\"nope\")\n// c");
    Press("mnuStart");
    QCOMPARE(QString::fromStdString(host_->messages.back().text),
             QString("Run time error:\r\n\r\nImage \"nope\" not found"));
    QVERIFY(ListingInFront());
    QCOMPARE(Window()->Listing()->currentRow(), 1);
    QVERIFY(Window()->Listing()->item(1)->background() != Window()->Listing()->item(0)->background());
    QVERIFY(Window()->windowTitle().endsWith(" [break]"));
    Press("mnuEnd");
    QVERIFY(Window()->windowTitle().endsWith(" [design]"));
  }
};

QTEST_MAIN(TestScriptWindow)
#include "test_script_window.moc"
