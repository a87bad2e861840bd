// The workbench with worksheets: scrolling, headers, editing, the column
// dialogs and menus, import options, plot dialogs and plot windows.
#include "workbench_fixture.h"

using namespace sv;
using namespace sv::test_app;

class TestWorkbenchSheets : public WorkbenchFixture {
  Q_OBJECT

 private slots:
  void initTestCase() { SetUpOnce(); }
  void init() { SetUpWorkbench(); }
  void cleanup() { TearDownWorkbench(); }

  void fullSheetScrollsToTheLastRow() {
    Form_Worksheet* sheet = NewSheet();
    QVERIFY(sheet);
    app::WorksheetWindow* w = window_->WorksheetWindowFor(sheet->Handle());
    QVERIFY(w && w->isVisible());
    sheet->Redraw(false);
    sheet->Cols(101);
    sheet->Rows(kMaxSheetRows);
    sheet->TextMatrix(kMaxSheetRows - 1, 100, Cell(42.5f));
    sheet->Redraw(true);
    app::SheetTableModel* model = w->TableModel();
    QCOMPARE(model->rowCount(), int(kMaxSheetRows - 1));
    QCOMPARE(model->columnCount(), 100);

    const QModelIndex last = model->index(int(kMaxSheetRows - 2), 99);
    w->Grid()->scrollTo(last);
    QCoreApplication::processEvents();
    QCOMPARE(sheet->BottomRow(), kMaxSheetRows - 1);
    QCOMPARE(sheet->RightCol(), 100L);
    QVERIFY(sheet->IsRowVisible(kMaxSheetRows - 1));
    QVERIFY(!sheet->IsRowVisible(1));
    QVERIFY(w->Grid()->visualRect(last).intersects(w->Grid()->viewport()->rect()));
    QCOMPARE(model->data(last, Qt::DisplayRole).toString(), QString("42.5"));
    QCOMPARE(model->headerData(int(kMaxSheetRows - 2), Qt::Vertical, Qt::DisplayRole).toString(),
             QString::number(kMaxSheetRows - 1));
    QCOMPARE(model->headerData(0, Qt::Horizontal, Qt::DisplayRole).toString(),
             QString::fromStdString(sheet->TextMatrix(0, 1).Text()));
    QVERIFY(!w->Grid()->viewport()->grab().isNull());

    // The sheet shrinks behind the grid's back: nothing outside it is read.
    sheet->Redraw(false);
    sheet->Rows(3);
    QCOMPARE(model->data(last, Qt::DisplayRole).toString(), QString());
    sheet->Redraw(true);
    QCOMPARE(model->rowCount(), 2);
  }

  // Headers pick whole columns and rows through the sheet's setters; a
  // shift-click picks a cell range; the current cell follows.
  void headersPickWholeColumnsAndRows() {
    Form_Worksheet* sheet = NewSheet();
    QVERIFY(sheet);
    app::WorksheetWindow* w = window_->WorksheetWindowFor(sheet->Handle());
    QHeaderView* across = w->Grid()->horizontalHeader();
    QHeaderView* down = w->Grid()->verticalHeader();
    const long lastRow = sheet->Rows() - 1, lastCol = sheet->Cols() - 1;

    QTest::mouseClick(across->viewport(), Qt::LeftButton, {}, SectionPoint(across, 1));
    QCOMPARE(sheet->SelStartRow(), 0L);
    QCOMPARE(sheet->SelEndRow(), lastRow);
    QCOMPARE(sheet->SelStartCol(), 2L);
    QCOMPARE(sheet->SelEndCol(), 2L);
    QCOMPARE(sheet->Col(), 2L);
    QVERIFY(w->Grid()->selectionModel()->isColumnSelected(1, QModelIndex()));
    QTest::mouseClick(across->viewport(), Qt::LeftButton, Qt::ShiftModifier, SectionPoint(across, 0));
    QCOMPARE(sheet->SelStartCol(), 1L);
    QCOMPARE(sheet->SelEndCol(), 2L);
    QCOMPARE(sheet->SelStartRow(), 0L);

    QTest::mouseClick(down->viewport(), Qt::LeftButton, {}, SectionPoint(down, 4));
    QCOMPARE(sheet->SelStartCol(), 0L);
    QCOMPARE(sheet->SelEndCol(), lastCol);
    QCOMPARE(sheet->SelStartRow(), 5L);
    QCOMPARE(sheet->SelEndRow(), 5L);
    QCOMPARE(sheet->Row(), 5L);

    QWidget* cells = w->Grid()->viewport();
    auto cellPoint = [&](int row, int col) {
      return w->Grid()->visualRect(w->TableModel()->index(row, col)).center();
    };
    QTest::mouseClick(cells, Qt::LeftButton, {}, cellPoint(1, 0));
    QTest::mouseClick(cells, Qt::LeftButton, Qt::ShiftModifier, cellPoint(3, 1));
    QCOMPARE(sheet->SelStartRow(), 2L);
    QCOMPARE(sheet->SelEndRow(), 4L);
    QCOMPARE(sheet->SelStartCol(), 1L);
    QCOMPARE(sheet->SelEndCol(), 2L);
    QCOMPARE(sheet->Row(), 4L);
    QCOMPARE(sheet->Col(), 2L);

    // A selection the sheet sets itself shows in the grid.
    sheet->SetSelection(-1, -1, -1, -1);
    sheet->DrawWorksheet();
    QVERIFY(!w->Grid()->selectionModel()->hasSelection());
  }

  // Typing into a cell goes through the sheet's text setter; the caption
  // shows the change, and the routed menu commands reach the sheet.
  void editingACellReachesTheSheet() {
    Form_Worksheet* sheet = NewSheet();
    QVERIFY(sheet);
    app::WorksheetWindow* w = window_->WorksheetWindowFor(sheet->Handle());
    QMdiSubWindow* sub = window_->SubWindowFor(sheet->Handle());
    sheet->Saved();
    QVERIFY(!sub->windowTitle().endsWith(" *"));

    const QModelIndex cell = w->TableModel()->index(2, 1);
    w->Grid()->setCurrentIndex(cell);
    w->Grid()->edit(cell);
    auto* editor = w->Grid()->viewport()->findChild<QLineEdit*>();
    QVERIFY(editor);
    QTest::keyClicks(editor, "3.25");
    QTest::keyClick(editor, Qt::Key_Return);
    QCoreApplication::processEvents();  // the editor commits from the event loop
    QCOMPARE(QString::fromStdString(sheet->TextMatrix(3, 2).Text()), QString("3.25"));
    QCOMPARE(sheet->Row(), 3L);
    QCOMPARE(sheet->Col(), 2L);
    QVERIFY(sheet->Changed());
    QCOMPARE(sub->windowTitle(), QString::fromStdString(sheet->Caption()));
    QVERIFY(sub->windowTitle().endsWith(" *"));

    // Edit -> Copy and Clear of the one cell, through the menus.
    main_->PrepareMenu("mnuEdit");
    window_->MenuAction("mnuCopy")->trigger();
    QCOMPARE(QString::fromStdString(host_->clipboard), QString("3.25\r\n"));
    window_->MenuAction("mnuClear")->trigger();
    QVERIFY(sheet->TextMatrix(3, 2).IsNull());
    QCOMPARE(w->TableModel()->data(cell, Qt::DisplayRole).toString(), QString());

    // A protected column takes no typing.
    sheet->Col(2);
    sheet->Protected(true);
    QVERIFY(!(w->TableModel()->flags(cell) & Qt::ItemIsEditable));
  }

  // Column -> Rename and Set Worksheet X open their dialogs on the sheet in
  // front; what is typed there shows in the grid's headers.
  void renameAndIndexDialogsReachTheSheet() {
    Form_Worksheet* sheet = NewSheet();
    QVERIFY(sheet);
    app::WorksheetWindow* w = window_->WorksheetWindowFor(sheet->Handle());
    QHeaderView* across = w->Grid()->horizontalHeader();
    QTest::mouseClick(across->viewport(), Qt::LeftButton, {}, SectionPoint(across, 1));
    QString shownName;
    Dialogs().columnRename = [&](Form_ColumnRename& f) {
      app::ColumnRenameWindow d(f);
      shownName = d.NameText()->text();
      d.NameText()->setText("Ipeak");
      d.LabelText()->setText("I (counts)");
      d.accept();
      return d.result() == QDialog::Accepted;
    };
    Dialogs().setWorksheetX = [](Form_SetWorksheetX& f) {
      app::SetWorksheetXWindow d(f);
      d.InitialText()->setText("10");
      d.IncrementText()->setText("0.5");
      d.accept();
      return true;
    };
    main_->PrepareMenu("mnuColumn");
    window_->MenuAction("mnuRename")->trigger();
    window_->MenuAction("mnuSetWorksheetX")->trigger();
    Dialogs() = WorksheetDialogs{};
    QCOMPARE(shownName, QString("B"));
    app::SheetTableModel* model = w->TableModel();
    QCOMPARE(model->headerData(1, Qt::Horizontal, Qt::DisplayRole).toString(),
             QString("Ipeak[Y]|I (counts)"));
    QCOMPARE(model->headerData(2, Qt::Vertical, Qt::DisplayRole).toString(), QString("11"));
  }

  // Column -> Move takes the selected column to the position typed in its
  // dialog; the Edit toolbar's keys work for the sheet in front.
  void moveColumnThroughTheMenu() {
    Form_Worksheet* sheet = NewSheet();
    QVERIFY(sheet);
    for (const char* key : {"Cut", "Copy", "Paste"})
      QVERIFY2(window_->ToolbarAction(key)->isEnabled(), key);
    app::WorksheetWindow* w = window_->WorksheetWindowFor(sheet->Handle());
    sheet->TextMatrix(1, 1, Cell(5.0));
    QHeaderView* across = w->Grid()->horizontalHeader();
    QTest::mouseClick(across->viewport(), Qt::LeftButton, {}, SectionPoint(across, 0));
    QString shown;
    Dialogs().columnMove = [&](Form_ColumnMove& f) {
      app::ColumnMoveWindow d(f);
      shown = d.PositionText()->text();
      d.PositionText()->setText("2");
      d.accept();
      return d.result() == QDialog::Accepted;
    };
    main_->PrepareMenu("mnuColumn");
    QVERIFY(window_->MenuAction("mnuMove")->isEnabled());
    window_->MenuAction("mnuMove")->trigger();
    Dialogs() = WorksheetDialogs{};
    QCOMPARE(shown, QString("1"));
    app::SheetTableModel* model = w->TableModel();
    QCOMPARE(model->headerData(0, Qt::Horizontal, Qt::DisplayRole).toString(), QString("B[Y]"));
    QCOMPARE(model->headerData(1, Qt::Horizontal, Qt::DisplayRole).toString(), QString("A[X]"));
    QCOMPARE(model->data(model->index(0, 1), Qt::DisplayRole).toString(), QString("5"));
  }

  // The import options show the file's first bytes, as they are or as
  // tokens, and enable the fields that depend on others.
  void importOptionsShowPreviewTokens() {
    const std::string path = host_->root + "/scan.dat";
    {
      std::ofstream out(path, std::ios::binary);
      out << "E\tI\r\n1.5,2" << '\x01' << '\xE9' << "\r\n";
    }
    Form_ImportOptions form;
    form.Load(ImportSettings{});
    app::ImportOptionsWindow w(form);
    host_->AnswerFile(path);
    w.PreviewButton()->click();
    QCOMPARE(w.PreviewText()->toPlainText(),
             QString::fromLatin1("E\tI\n1.5,2\x01\xE9\n").remove('\r'));
    w.PreviewModeBox()->setChecked(true);
    QCOMPARE(w.PreviewText()->toPlainText(), QString("E[TAB]I[CR][LF]1.5,2[01][233][CR][LF]"));

    QVERIFY(!w.DelimiterText()->isEnabled());
    w.DelimiterBox()->setCurrentIndex(Form_ImportOptions::kOther);
    QVERIFY(w.DelimiterText()->isEnabled());
    QVERIFY(!w.ColWidthText()->isEnabled());
    w.StructureOption(1)->click();
    QVERIFY(w.ColWidthText()->isEnabled());
    QCOMPARE(form.Option_FileStructure, 1);
    w.ImportButton()->click();
    QCOMPARE(QString::fromStdString(form.Tag), QString("Import"));
    QCOMPARE(form.ImportFilename, path);
  }

  // The plot dialogs write what their controls hold back to their presenters
  // and end with the tag of the button pressed.
  void plotDialogsEndWithTheirTags() {
    Form_Layer layer;
    layer.Text_l = "14.5";
    layer.Text_t = "13.5";
    layer.Text_w = "76.3";
    layer.Text_h = "74";
    app::LayerWindow lw(layer);
    lw.UnitBox()->setCurrentIndex(2);  // mm
    QVERIFY(std::abs(lw.LeftText()->text().toDouble() - 0.145 * layer.PageWidthMm) < 1e-3);
    lw.accept();
    QCOMPARE(QString::fromStdString(layer.Tag), QString("OK"));
    QCOMPARE(FieldValue(layer.Text_l), 14.5);  // back in % of the page

    Form_Axis axis;
    axis.Load(1, PlotAxisRecord{});
    app::AxisWindow aw(axis);
    QVERIFY(aw.TypBox(1)->isChecked() && aw.TypBox(3)->isChecked() && aw.TypBox(5)->isChecked());
    QVERIFY(!aw.TypBox(2)->isChecked());
    QCOMPARE(aw.AxisButton()->text(), QString("&Y-Axis"));
    aw.TypBox(9)->setChecked(true);
    aw.AxisButton()->click();
    QCOMPARE(QString::fromStdString(axis.Tag), QString("AXIS"));
    QCOMPARE(axis.Flags(0), 42 | AxisFlag::MajorGrid);

    Form_PlotDetails details;
    details.Load(PlotCurveRecord::Default(0), "DATA1.SHT", "B", "I (counts)");
    app::PlotDetailsWindow dw(details);
    dw.ShapeBox()->setCurrentIndex(4);
    dw.RemoveButton()->click();
    QCOMPARE(QString::fromStdString(details.Tag), QString("Remove"));
    QCOMPARE(details.Edited().Shape, 4);

    Form_GridSetup grid;
    grid.Load(PlotAxisRecord{});
    app::GridSetupWindow gw(grid);
    gw.MajorStyleBox()->setCurrentIndex(2);
    gw.ApplyToAllBox()->setChecked(true);
    gw.accept();
    QCOMPARE(QString::fromStdString(grid.Tag), QString("OK"));
    QCOMPARE(grid.Combo_MajorGridStyle, 2);
    QVERIFY(grid.Check_ApplyToAll);
  }

  // Plot -> New Plot on a sheet: the column dialog moves columns between its
  // lists, and the new plot gets a window with the page and its caption.
  void newPlotOfASheetGetsAWindow() {
    Form_Worksheet* sheet = NewSheet();
    QVERIFY(sheet);
    app::WorksheetWindow* w = window_->WorksheetWindowFor(sheet->Handle());
    QHeaderView* across = w->Grid()->horizontalHeader();
    QTest::mouseClick(across->viewport(), Qt::LeftButton, {}, SectionPoint(across, 1));

    struct ClickThrough : PlotDialogs {
      QStringList x, y;
      void ShowNewPlot(Form_NewPlot& f) override {
        app::NewPlotWindow d(f);
        for (int i = 0; i < d.XList()->count(); ++i) x << d.XList()->item(i)->text();
        for (int i = 0; i < d.YList()->count(); ++i) y << d.YList()->item(i)->text();
        // Y back to the columns and in again.
        d.ResetYButton()->click();
        if (d.YList()->count() != 0) return;
        d.ColumnsList()->item(d.ColumnsList()->count() - 1)->setSelected(true);
        d.SetYButton()->click();
        d.OKButton()->click();
      }
    } dialogs;
    SetPlotDialogs(&dialogs);
    main_->PrepareMenu("mnuGraph");
    window_->MenuAction("mnuNewPlot")->trigger();
    SetPlotDialogs(nullptr);
    QCOMPARE(dialogs.x.size(), 1);
    QVERIFY(dialogs.x.front().startsWith("A"));
    QCOMPARE(dialogs.y.size(), 1);
    QVERIFY(dialogs.y.front().startsWith("B"));

    QCOMPARE(sheet->Plots(), 1L);
    const long handle = sheet->PlotWindowHwnd(0);
    app::PlotWindow* pw = window_->PlotWindowFor(handle);
    QVERIFY(pw && pw->isVisible());
    auto* plot = dynamic_cast<Form_Plot*>(main_->Child(handle));
    QVERIFY(plot);
    QCOMPARE(plot->Curves(), 1L);
    QCOMPARE(plot->CurveRecord(0).YCol, 2);
    QCOMPARE(window_->SubWindowFor(handle)->windowTitle(), QString::fromStdString(plot->Caption()));
    QVERIFY(window_->SubWindowFor(handle)->windowTitle().endsWith("(Plot1)"));

    // A page at the aspect of the printer page, white, with the layer's frame.
    const QRect page = pw->PageRect();
    QVERIFY(!page.isEmpty());
    QVERIFY(std::abs(double(page.width()) / page.height() - 297.0 / 210.0) < 0.02);
    const QImage shot = pw->grab().toImage();
    QCOMPARE(shot.pixelColor(page.left() + 2, page.center().y()), QColor(Qt::white));
    const QRect layer = pw->LayerRect();
    QCOMPARE(shot.pixelColor(layer.left(), layer.center().y()), QColor(Qt::black));

    // The window's place goes into the sheet file and comes back with it.
    const QRect place(30, 40, 420, 320);
    window_->SubWindowFor(handle)->setGeometry(place);
    const std::string path = host_->root + "/run7.sht";
    QCOMPARE(sheet->SaveWorksheet(path), 0L);
    QVERIFY(window_->SubWindowFor(handle)->windowTitle().startsWith("RUN7.SHT"));
    host_->AnswerFile(path, 1);
    main_->Click("mnuOpenWorksheet");
    auto* opened = dynamic_cast<Form_Worksheet*>(main_->ActiveChild());
    QVERIFY(opened && opened != sheet);
    QCOMPARE(opened->Plots(), 1L);
    QMdiSubWindow* reopened = window_->SubWindowFor(opened->PlotWindowHwnd(0));
    QVERIFY(reopened && reopened->isVisible());
    QCOMPARE(reopened->geometry(), place);

    // The caption follows the sheet's name; closing the window takes the
    // plot off the sheet.
    sheet->Filename("/data/RUN8.SHT");
    QVERIFY(window_->SubWindowFor(handle)->windowTitle().startsWith("RUN8.SHT"));
    window_->SubWindowFor(handle)->close();
    QVERIFY(!window_->PlotWindowFor(handle));
    QCOMPARE(sheet->Plots(), 0L);

    // At the exit the plot windows go with their sheets.
    SheetPlot* second = nullptr;
    QVERIFY(sheet->NewPlot(second));
    const long secondHandle = second->Handle();
    main_->ShowChild(secondHandle);
    QVERIFY(window_->PlotWindowFor(secondHandle));
    const long sheetHandle = sheet->Handle();
    G().ShowExitDialog = 0;
    QVERIFY(window_->close());
    QVERIFY(!window_->PlotWindowFor(secondHandle));
    QVERIFY(!window_->WorksheetWindowFor(sheetHandle));
  }

  // Window Setup on the live picture: a window drawn with the mouse, scanned
  // with F5, the report in its window and the cross on the spot.
};

QTEST_MAIN(TestWorkbenchSheets)
#include "test_app_sheets.moc"
