#include "frmBackup.h"

#include "LogListModel.h"
#include "MessageBoxes.h"

#include "engine/BackupEngine.h"
#include "setfile/clsSetup.h"

#include <QApplication>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QGridLayout>
#include <QGroupBox>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QListView>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
#include <QSessionManager>
#include <QStyledItemDelegate>
#include <QVBoxLayout>

#include <cstdlib>

namespace tessaron::gui {

namespace {

// How often a run hands control to the event loop: often enough for a smooth window and
// a Cancel button that answers at once, rarely enough that a run of many small files
// spends its time copying.
constexpr auto kEventInterval = std::chrono::milliseconds(25);
constexpr int kRefreshMs = 500;
const char* const kCaption = "Backup Progress";

std::size_t Slot(ViewText which) {
    return static_cast<std::size_t>(which);
}

// Message texts separate their lines with CR LF; a Qt label breaks at LF.
QString BoxText(const std::string& text) {
    QString s = QString::fromStdString(text);
    s.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    return s;
}

// A label that shows the end of a long text ("...ann/docs/report.odt") instead of
// widening the window: the file name matters most in a path.
class ElidedLabel : public QLabel {
public:
    using QLabel::QLabel;
    QSize minimumSizeHint() const override { return {0, QLabel::minimumSizeHint().height()}; }
    QSize sizeHint() const override { return {0, QLabel::sizeHint().height()}; }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        const QRect r = contentsRect();
        p.drawText(r, Qt::AlignLeft | Qt::AlignVCenter,
                   fontMetrics().elidedText(text(), Qt::ElideLeft, r.width()));
    }
};

} // namespace

// Every row of the log list has the height of one line and the width of the widest line
// shown so far, so that the horizontal scroll bar reaches the end of every line while the
// view asks for one size only (uniform item sizes). A line is measured when it is painted:
// measuring every line as it arrives would cost more than the copy of a small file, and a
// line the user never saw need not widen the range.
class LogWidthDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        QSize s = QStyledItemDelegate::sizeHint(option, index);
        s.setWidth(m_widest + 2 * option.fontMetrics.averageCharWidth());
        return s;
    }
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        const int width = option.fontMetrics.horizontalAdvance(index.data().toString());
        if (width > m_widest) {
            m_widest = width;
            emit const_cast<LogWidthDelegate*>(this)->sizeHintChanged(index);
        }
        QStyledItemDelegate::paint(painter, option, index);
    }
    void Reset() { m_widest = 0; }

private:
    mutable int m_widest = 0;
};

frmBackup::frmBackup(QWidget* parent)
    : QWidget(parent, Qt::Window), m_engine(std::make_unique<BackupEngine>(*this)) {
    setObjectName("frmBackup");
    setWindowTitle(kCaption);
    BuildControls();
    m_timer.setInterval(kRefreshMs);
    connect(&m_timer, &QTimer::timeout, this, &frmBackup::Timer1_Timer);
    resize(640, 480);
    if (auto* app = qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
        connect(app, &QGuiApplication::commitDataRequest, this,
                [this](QSessionManager&) { SessionEnding(); });
    }
}

frmBackup::~frmBackup() = default;

void frmBackup::Setup(clsSetup& setup) {
    m_setup = &setup;
    m_engine->Setup(setup);
}

void frmBackup::LogDir(const std::string& dir) {
    m_engine->LogDir(dir);
}

void frmBackup::Settings(const clsRegSettings& settings) {
    m_engine->Settings(settings);
}

bool frmBackup::Finished() const {
    return m_engine->Finished();
}

bool frmBackup::Cancelled() const {
    return m_engine->Cancelled();
}

const std::string& frmBackup::LogFile() const {
    return m_engine->LogFile();
}

void frmBackup::BuildControls() {
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(BuildCurrentFrame());
    layout->addWidget(BuildOverallFrame());
    m_log = new LogListModel(this);
    m_logWidth = new LogWidthDelegate(this);
    m_lstLog = new QListView(this);
    m_lstLog->setObjectName("lstLog");
    m_lstLog->setModel(m_log);
    m_lstLog->setItemDelegate(m_logWidth);
    m_lstLog->setUniformItemSizes(true);
    m_lstLog->setSelectionMode(QAbstractItemView::SingleSelection);
    m_lstLog->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_lstLog->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    layout->addWidget(m_lstLog, 1);
    layout->addWidget(BuildBottomRow());
}

QLabel* frmBackup::ValueLabel(const char* name) {
    auto* label = new QLabel(this);
    label->setObjectName(name);
    label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    label->setMinimumWidth(fontMetrics().horizontalAdvance(QStringLiteral("999,999,999,999")));
    return label;
}

QWidget* frmBackup::BuildCurrentFrame() {
    m_fraCurrent = new QGroupBox(QStringLiteral("Current File"), this);
    m_fraCurrent->setObjectName("fraCurrent");
    auto* file = new ElidedLabel(this);
    file->setObjectName("lblCurrentFile");
    m_labels[Slot(ViewText::CurrentFile)] = file;
    m_pbCurrent = new QProgressBar(this);
    m_pbCurrent->setObjectName("pbCurrent");
    m_pbCurrent->setRange(0, 100);
    m_pbCurrent->setValue(0);
    auto* layout = new QVBoxLayout(m_fraCurrent);
    layout->addWidget(file);
    layout->addWidget(m_pbCurrent);
    return m_fraCurrent;
}

QWidget* frmBackup::BuildOverallFrame() {
    m_fraOverall = new QGroupBox(QStringLiteral("Overall Progress"), this);
    m_fraOverall->setObjectName("fraOverall");
    auto* grid = new QGridLayout(m_fraOverall);
    auto caption = [this](const char* name, const QString& text) {
        auto* label = new QLabel(text, this);
        label->setObjectName(name);
        return label;
    };
    struct Cell {
        int row, column;
        QLabel* caption;
        ViewText value;
        const char* name;
    };
    // Two pairs of caption and value, the values right-aligned to a common edge.
    const Cell cells[] = {
        {0, 0, caption("lblFilesCaption", "Total Files"), ViewText::Files, "lblFiles"},
        {1, 0, caption("lblBytesCaption", "Total Bytes"), ViewText::Bytes, "lblBytes"},
        {2, 0, caption("lblElapsedCaption", "Elapsed Time"), ViewText::Elapsed, "lblElapsed"},
        {0, 3, caption("lblFilesTrans", "Files Transferred"), ViewText::FilesTransferred,
         "lblFilesTransfered"},
        {1, 3, caption("lblBytesTrans", "Bytes Transferred"), ViewText::BytesTransferred,
         "lblBytesTransfered"},
        {2, 3, caption("lblRateCaption", "Bytes/Second"), ViewText::BytesPerSecond,
         "lblBytesPerSecond"},
        {3, 3, caption("lblRemainingCaption", "Time Remaining"), ViewText::Remaining,
         "lblRemaining"},
    };
    for (const Cell& c : cells) {
        m_labels[Slot(c.value)] = ValueLabel(c.name);
        grid->addWidget(c.caption, c.row, c.column);
        grid->addWidget(m_labels[Slot(c.value)], c.row, c.column + 1);
    }
    m_labels[Slot(ViewText::FilesTransCaption)] = cells[3].caption;
    m_labels[Slot(ViewText::BytesTransCaption)] = cells[4].caption;
    grid->setColumnStretch(2, 1);
    grid->setColumnMinimumWidth(2, fontMetrics().horizontalAdvance(QStringLiteral("MMMM")));
    m_pbOverAll = new QProgressBar(this);
    m_pbOverAll->setObjectName("pbOverAll");
    m_pbOverAll->setRange(0, 100);
    m_pbOverAll->setValue(0);
    grid->addWidget(m_pbOverAll, 4, 0, 1, 5);
    return m_fraOverall;
}

QWidget* frmBackup::BuildBottomRow() {
    auto* row = new QWidget(this);
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* result = new QLabel(row);
    result->setObjectName("lblResult");
    QFont bold = result->font();
    bold.setBold(true);
    result->setFont(bold);
    m_labels[Slot(ViewText::Result)] = result;
    m_cmdCancel = new QPushButton(QStringLiteral("Cancel"), row);
    m_cmdCancel->setObjectName("cmdCancel");
    connect(m_cmdCancel, &QPushButton::clicked, this, &frmBackup::cmdCancel_Click);
    layout->addWidget(result, 1);
    layout->addWidget(m_cmdCancel);
    return row;
}

bool frmBackup::Run(QWidget* parent, bool unloadOnExit) {
    if (m_running || m_setup == nullptr) {
        return false;
    }
    ShowInstead(parent);
    m_log->Clear();
    m_logWidth->Reset();
    m_unloadOnExit = unloadOnExit;
    m_unloadAfterRun = false;
    m_running = true;
    m_lastEvents = std::chrono::steady_clock::now();
    m_timer.start();
    const bool succeeded = m_engine->Run(unloadOnExit);
    m_timer.stop();
    m_running = false;
    FlushLog();
    if (m_unloadOnExit || m_unloadAfterRun) {
        Unload();
    }
    return succeeded;
}

// Hides the parent and shows this window, owned by the parent, in its place.
void frmBackup::ShowInstead(QWidget* parent) {
    if (parent != nullptr && parent != parentWidget()) {
        setParent(parent, windowFlags());
    }
    m_parent = parent;
    m_parentWasVisible = parent != nullptr && parent->isVisible();
    if (m_parentWasVisible) {
        m_parent->hide();
    }
    show();
    raise();
    activateWindow();
}

void frmBackup::CancelRun() {
    cmdCancel_Click();
}

void frmBackup::Interrupt() {
    if (m_asking) {
        m_answerReason = "interrupted";
        if (QWidget* question = QApplication::activeModalWidget()) {
            question->close(); // answered as its close box answers
        }
    }
    CancelRun();
}

void frmBackup::cmdCancel_Click() {
    if (!m_running || m_engine->Finished()) {
        Unload();
    }
    m_engine->Cancel();
}

// The run refreshes the window itself at its yields; the timer covers the times it does
// not yield (a question box open, a slow medium), without doubling the refreshes.
void frmBackup::Timer1_Timer() {
    if (m_running &&
        std::chrono::steady_clock::now() - m_lastRefresh >= std::chrono::milliseconds(kRefreshMs)) {
        m_engine->UpdateProgress();
    }
}

// --- The engine's view -----------------------------------------------------------------------

void frmBackup::AddLine(const std::string& line) {
    m_log->AddLine(QString::fromStdString(line));
}

void frmBackup::AppendToLastLine(const std::string& text) {
    m_log->AppendToLastLine(QString::fromStdString(text));
}

void frmBackup::SetText(ViewText which, const std::string& text) {
    const QString value = QString::fromStdString(text);
    switch (which) {
    case ViewText::WindowCaption: // set by every refresh
        m_lastRefresh = std::chrono::steady_clock::now();
        setWindowTitle(value);
        return;
    case ViewText::CurrentFrame:
        m_fraCurrent->setTitle(value);
        return;
    case ViewText::OverallFrame:
        m_fraOverall->setTitle(value);
        return;
    case ViewText::CancelButton:
        m_cmdCancel->setText(value);
        return;
    case ViewText::Result:
        m_timer.stop(); // the result ends the refreshes
        break;
    default:
        break;
    }
    if (QLabel* label = m_labels[Slot(which)]; label != nullptr) {
        label->setText(value);
    }
}

int frmBackup::GetBar(ViewBar which) const {
    return (which == ViewBar::Current ? m_pbCurrent : m_pbOverAll)->value();
}

void frmBackup::SetBar(ViewBar which, int value) {
    (which == ViewBar::Current ? m_pbCurrent : m_pbOverAll)->setValue(value);
}

MsgAnswer frmBackup::Ask(const std::string& title, const std::string& text, MsgButtons buttons) {
    FlushLog(); // the list shows what led to the question
    m_answerReason.clear();
    m_asking = true;
    const MsgAnswer answer =
        ShowMessageBox(this, QString::fromStdString(title), BoxText(text), buttons);
    m_asking = false;
    return answer;
}

void frmBackup::Yield() {
    const auto now = std::chrono::steady_clock::now();
    if (now - m_lastEvents < kEventInterval) {
        return;
    }
    FlushLog();
    QCoreApplication::processEvents();
    m_lastEvents = std::chrono::steady_clock::now();
}

void frmBackup::Finished(bool unloadOnExit) {
    m_unloadOnExit = m_unloadOnExit || unloadOnExit;
    FlushLog();
}

// --- Log list --------------------------------------------------------------------------------

// Shows the lines logged since the last flush and selects the last one, which scrolls it
// into view.
void frmBackup::FlushLog() {
    const int first = m_log->Flush();
    if (first < 0) {
        return;
    }
    m_lstLog->setCurrentIndex(m_log->index(m_log->rowCount() - 1));
}

// --- Closing ---------------------------------------------------------------------------------

// Whether a close that did not come from the window itself may go ahead: always once the
// run is finished; during a run only after the user confirmed, and then the window closes
// itself when the run has stopped.
bool frmBackup::QueryUnload() {
    if (!m_running || m_engine->Finished()) {
        return true;
    }
    if (ShowMessageBox(this, QStringLiteral("Cancel Operation"),
                       QStringLiteral("Do you want to cancel this operation?"),
                       MsgButtons::YesNo) == MsgAnswer::Yes) {
        m_engine->Cancel();
        m_unloadOnExit = true;
    }
    return false;
}

// The session is ending: a run in progress is cancelled without asking, and the window
// closes itself when the run has stopped.
void frmBackup::SessionEnding() {
    if (m_running && !m_engine->Finished()) {
        m_engine->Cancel();
        m_unloadOnExit = true;
    }
}

void frmBackup::closeEvent(QCloseEvent* event) {
    if (!m_unloading && !QueryUnload()) {
        event->ignore();
        return;
    }
    ShowParent();
    if (m_running) {
        // The finished run is still ejecting the medium: the window goes now, the object
        // stays until Run returns.
        event->ignore();
        hide();
        m_unloadAfterRun = true;
        return;
    }
    m_timer.stop();
    event->accept();
}

void frmBackup::Unload() {
    m_unloading = true;
    close();
    m_unloading = false;
}

// Only a parent that this window hid is shown again: a main window that was never shown
// (a run from the command line) stays out of sight.
void frmBackup::ShowParent() {
    if (m_parentWasVisible) {
        m_parent->show();
    }
}

int RunBackupWindow(QWidget* mainWindow, clsSetup& setup, bool unloadOnExit) {
    auto* window = new frmBackup(mainWindow);
    window->setAttribute(Qt::WA_DeleteOnClose);
    window->Setup(setup);
    if (const char* dir = std::getenv("TESSARON_LOG_DIR"); dir != nullptr && *dir != '\0') {
        window->LogDir(dir);
    }
    const bool succeeded = window->Run(mainWindow, unloadOnExit);
    const bool cancelled = window->Cancelled();
    if (unloadOnExit) {
        // Closed by Run; nothing owns it when there is no main window.
        QCoreApplication::sendPostedEvents(window, QEvent::DeferredDelete);
    }
    return succeeded ? 0 : cancelled ? 2 : 1;
}

} // namespace tessaron::gui
