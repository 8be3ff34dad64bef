#include "app/tools/MacroPanel.h"

#include <QFontDatabase>
#include <QFutureWatcher>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSplitter>
#include <QStackedLayout>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <QtConcurrent/QtConcurrentRun>
#include <set>

#include "app/SheetGridView.h"
#include "app/tools/ToolSupport.h"
#include "editing/SumoraEditorView.h"
#include "values/Log.h"

#if SUMORA_HAVE_MACROS
#include "macros/MacroRunner.h"
#else
namespace sumora {
// Without the interpreter the panel can only say so.
struct MacroRunResult {
    std::vector<std::string> lines;
    bool completed = false;
};
} // namespace sumora
#endif

namespace sumora::app {

// One run's private world: a copy of the document, an editor over it, the
// runner, and the active sheet as it was when the run began.
struct MacroPanel::Run {
    SumoraDocument document;
    std::unique_ptr<SumoraEditorView> editor;
#if SUMORA_HAVE_MACROS
    std::unique_ptr<MacroRunner> runner;
#endif
    std::string sheetId;
    Sheet before;
};

namespace {

#if SUMORA_HAVE_MACROS
constexpr std::string_view kHeading = kMacroOutputHeading;
constexpr std::string_view kPlaceholder = kMacroOutputPlaceholder;
#else
constexpr std::string_view kHeading = "Output";
constexpr std::string_view kPlaceholder = "Run a macro to see output here.";
#endif

// The cells whose records differ between two states of a sheet.
std::vector<std::pair<int64_t, int64_t>> changedCells(const Sheet& before, const Sheet& after) {
    std::set<std::pair<int64_t, int64_t>> positions;
    auto note = [&](const Sheet& a, const Sheet& b) {
        a.forEachStoredCell([&](int64_t row, int64_t col, const Cell& cell) {
            if (!(cell == b.cell(row, col))) positions.emplace(row, col);
        });
    };
    note(after, before);
    note(before, after);
    return {positions.begin(), positions.end()};
}

} // namespace

MacroPanel::MacroPanel(DocumentContext& context, QWidget* parent) : QWidget(parent), context_(context) {
    setObjectName(QStringLiteral("macroPanel"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(6, 6, 6, 6);
    auto* splitter = new QSplitter(Qt::Vertical, this);
    layout->addWidget(splitter);

    auto* top = new QWidget(splitter);
    auto* topLayout = new QVBoxLayout(top);
    topLayout->setContentsMargins(0, 0, 0, 0);
    script_ = new QPlainTextEdit(top);
    script_->setObjectName(QStringLiteral("macroScript"));
    script_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    script_->setLineWrapMode(QPlainTextEdit::NoWrap);
    topLayout->addWidget(script_);
    auto* buttons = new QHBoxLayout;
    run_ = new QPushButton(tr("Run"), top);
    run_->setObjectName(QStringLiteral("macroRun"));
    run_->setShortcut(QKeySequence(QStringLiteral("Ctrl+Return")));
    stop_ = new QPushButton(tr("Stop"), top);
    stop_->setObjectName(QStringLiteral("macroStop"));
    stop_->setEnabled(false);
    state_ = new QLabel(top);
    buttons->addWidget(run_);
    buttons->addWidget(stop_);
    buttons->addWidget(state_, 1);
    topLayout->addLayout(buttons);

    reference_ = new QTreeWidget(splitter);
    reference_->setObjectName(QStringLiteral("macroReference"));
    reference_->setColumnCount(2);
    reference_->setHeaderLabels({tr("Function"), tr("Description")});
    reference_->setRootIsDecorated(false);
    reference_->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
#if SUMORA_HAVE_MACROS
    for (const MacroReferenceEntry& e : macroReferenceEntries())
        new QTreeWidgetItem(reference_, {toQString(e.entry), toQString(e.description)});
#endif

    auto* bottom = new QWidget(splitter);
    auto* bottomLayout = new QVBoxLayout(bottom);
    bottomLayout->setContentsMargins(0, 0, 0, 0);
    auto* headingRow = new QHBoxLayout;
    auto* heading = new QLabel(QStringLiteral("<b>%1</b>").arg(toQString(kHeading)), bottom);
    heading->setObjectName(QStringLiteral("macroOutputHeading"));
    clear_ = new QPushButton(tr("Clear"), bottom);
    clear_->setObjectName(QStringLiteral("macroClear"));
    headingRow->addWidget(heading);
    headingRow->addStretch();
    headingRow->addWidget(clear_);
    bottomLayout->addLayout(headingRow);
    stack_ = new QStackedLayout;
    QStackedLayout* stack = stack_;
    placeholder_ = new QLabel(toQString(kPlaceholder), bottom);
    placeholder_->setAlignment(Qt::AlignCenter);
    placeholder_->setStyleSheet(QStringLiteral("color: #8E8E93;"));
    output_ = new QListWidget(bottom);
    output_->setObjectName(QStringLiteral("macroOutput"));
    output_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    stack->addWidget(placeholder_);
    stack->addWidget(output_);
    bottomLayout->addLayout(stack);
    splitter->setStretchFactor(0, 3);
    splitter->setStretchFactor(1, 1);
    splitter->setStretchFactor(2, 2);
    splitter->setSizes({260, 200, 180});

    connect(run_, &QPushButton::clicked, this, [this] { run(); });
    connect(stop_, &QPushButton::clicked, this, &MacroPanel::stop);
    connect(clear_, &QPushButton::clicked, this, &MacroPanel::clearOutput);

#if SUMORA_HAVE_MACROS
    script_->setPlainText(toQString(macroExampleScript()));
#else
    run_->setEnabled(false);
    state_->setText(tr("Macros are not available in this build."));
#endif
}

MacroPanel::~MacroPanel() {
    // A run still going ends at its next check; its copy dies with it.
#if SUMORA_HAVE_MACROS
    if (current_ && current_->runner) current_->runner->requestStop();
#endif
}

QStringList MacroPanel::outputLines() const {
    QStringList lines;
    for (int i = 0; i < output_->count(); ++i)
        lines << output_->item(i)->text();
    return lines;
}

void MacroPanel::clearOutput() {
    output_->clear();
    stack_->setCurrentWidget(placeholder_);
}

void MacroPanel::appendLines(const std::vector<std::string>& lines) {
    for (const std::string& line : lines) {
        auto* item = new QListWidgetItem(toQString(line), output_);
        if (line.rfind("Error: ", 0) == 0) item->setForeground(QColor(0xC6, 0x28, 0x28));
    }
    output_->scrollToBottom();
    stack_->setCurrentWidget(output_->count() ? static_cast<QWidget*>(output_) : placeholder_);
}

void MacroPanel::setRunning(bool running) {
    running_ = running;
    run_->setEnabled(!running);
    stop_->setEnabled(running);
    state_->setText(running ? tr("Running…") : QString());
    // The grid waits while the script works on its copy of the sheet.
    if (SheetGridView* grid = gridOf(context_)) grid->setEnabled(!running);
}

bool MacroPanel::run() {
#if SUMORA_HAVE_MACROS
    if (running_) return false;
    const QString text = script_->toPlainText();
    if (text.trimmed().isEmpty()) {
        script_->setPlainText(toQString(macroExampleScript()));
        return false;
    }
    SumoraEditorView& editor = context_.editor();
    const Sheet* sheet = editor.activeSheet();
    if (!sheet) return false;

    auto work = std::make_shared<Run>();
    work->document = editor.document;
    work->sheetId = sheet->id;
    work->before = *sheet;
    work->editor = std::make_unique<SumoraEditorView>(work->document);
    work->editor->activeSheetIndex = editor.activeSheetIndex;
    work->editor->localeIdentifier = editor.localeIdentifier;
    work->runner = std::make_unique<MacroRunner>(*work->editor);
    if (timeLimit_ > 0) work->runner->timeLimitSeconds = timeLimit_;
    current_ = work;
    setRunning(true);
    Log::debug("Macro run started");

    auto* watcher = new QFutureWatcher<MacroRunResult>(this);
    connect(watcher, &QFutureWatcher<MacroRunResult>::finished, this, [this, watcher, work] {
        watcher->deleteLater();
        finish(watcher->result());
        if (current_ == work) current_.reset();
    });
    const std::string script = toStdString(text);
    watcher->setFuture(QtConcurrent::run([work, script] { return work->runner->run(script); }));
    return true;
#else
    return false;
#endif
}

void MacroPanel::stop() {
#if SUMORA_HAVE_MACROS
    if (current_ && current_->runner) current_->runner->requestStop();
#endif
}

void MacroPanel::finish(const MacroRunResult& result) {
    appendLines(result.lines);
    setRunning(false);
    if (current_) writeBack(*current_);
    emit runFinished();
}

void MacroPanel::writeBack(const Run& run) {
    const Run* work = &run;

    SumoraEditorView& editor = context_.editor();
    SumoraDocument& document = editor.document;
    const Sheet* after = nullptr;
    for (const Sheet& s : work->document.sheets)
        if (s.id == work->sheetId) after = &s;
    size_t target = document.sheets.size();
    for (size_t i = 0; i < document.sheets.size(); ++i)
        if (document.sheets[i].id == work->sheetId) target = i;
    if (!after || target == document.sheets.size()) return; // the sheet went away meanwhile

    // Only what the macro changed is written back: edits made elsewhere on
    // the sheet while it ran stay. The run's own step stays on the copy; the
    // window gets one over what is written here.
    CellChangeRecord record;
    Sheet& sheet = document.sheets[target];
    for (const auto& [row, col] : changedCells(work->before, *after)) {
        if (!sheet.contains(row, col)) continue;
        record.add(sheet, {col, row}, sheet.cell(row, col), after->cell(row, col));
    }
    Log::debug("Macro run finished: " + std::to_string(record.size()) + " cell(s) changed");
    if (record.empty()) {
        editor.recalculateAllFormulas();
        context_.documentChanged();
        return;
    }
    record.put(document, CellChangeRecord::Side::after);
#if SUMORA_HAVE_MACROS
    const std::string name(kMacroUndoActionName);
#else
    const std::string name = "Run Macro";
#endif
    editor.registerCellChanges(name, std::move(record), UndoRecalculation::wholeSheet);
    editor.invalidateCalculators();
    editor.recalculateAllFormulas();
    refreshAfterCommand(context_);
}

} // namespace sumora::app
