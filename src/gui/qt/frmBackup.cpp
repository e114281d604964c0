#include "frmBackup.h"

#include "LogListModel.h"
#include "MessageBoxes.h"

#include "setfile/clsSetup.h"

#include <QApplication>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QGridLayout>
#include <QGroupBox>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QListView>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
#include <QSessionManager>
#include <QStyledItemDelegate>
#include <QVBoxLayout>
#include <QWindow>

namespace tessaron::gui {

namespace {

// How often a run hands control to the event loop: often enough for a smooth window and
// a Cancel button that answers at once, rarely enough that a run of many small files
// spends its time copying.
constexpr auto kEventInterval = std::chrono::milliseconds(25);
constexpr int kRefreshMs = 500;

using ui::RunLabel;

std::size_t Slot(RunLabel which) {
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

frmBackup::frmBackup(QWidget* parent) : QWidget(parent, Qt::Window), m_logic(*this) {
    setObjectName("frmBackup");
    BuildControls();
    m_logic.ShowAll();
    m_timer.setInterval(kRefreshMs);
    connect(&m_timer, &QTimer::timeout, this, [this] { m_logic.TimerTick(); });
    resize(640, 480);
    if (auto* app = qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
        connect(app, &QGuiApplication::commitDataRequest, this, [this](QSessionManager&) {
            m_logic.CloseRequested(ui::RunWindowLogic::CloseRequest::System);
        });
    }
}

frmBackup::~frmBackup() = default;

void frmBackup::Setup(clsSetup& setup) {
    m_logic.Setup(setup);
}

void frmBackup::LogDir(const std::string& dir) {
    m_logic.Engine().LogDir(dir);
}

void frmBackup::Settings(const clsRegSettings& settings) {
    m_logic.Engine().Settings(settings);
}

bool frmBackup::Finished() const {
    return m_logic.Engine().Finished();
}

RunResult frmBackup::Result() const {
    return m_logic.Engine().Result();
}

const std::string& frmBackup::LogFile() const {
    return m_logic.Engine().LogFile();
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
    m_fraCurrent = new QGroupBox(this);
    m_fraCurrent->setObjectName("fraCurrent");
    auto* file = new ElidedLabel(this);
    file->setObjectName("lblCurrentFile");
    m_labels[Slot(RunLabel::CurrentFile)] = file;
    m_pbCurrent = new QProgressBar(this);
    m_pbCurrent->setObjectName("pbCurrent");
    m_pbCurrent->setRange(0, 100);
    auto* layout = new QVBoxLayout(m_fraCurrent);
    layout->addWidget(file);
    layout->addWidget(m_pbCurrent);
    return m_fraCurrent;
}

QWidget* frmBackup::BuildOverallFrame() {
    m_fraOverall = new QGroupBox(this);
    m_fraOverall->setObjectName("fraOverall");
    auto* grid = new QGridLayout(m_fraOverall);
    auto caption = [this](const char* name, const QString& text = {}) {
        auto* label = new QLabel(text, this);
        label->setObjectName(name);
        return label;
    };
    struct Cell {
        int row, column;
        QLabel* caption;
        RunLabel value;
        const char* name;
    };
    // Two pairs of caption and value, the values right-aligned to a common edge.
    const Cell cells[] = {
        {0, 0, caption("lblFilesCaption", "Total Files"), RunLabel::Files, "lblFiles"},
        {1, 0, caption("lblBytesCaption", "Total Bytes"), RunLabel::Bytes, "lblBytes"},
        {2, 0, caption("lblElapsedCaption", "Elapsed Time"), RunLabel::Elapsed, "lblElapsed"},
        {0, 3, caption("lblFilesTrans"), RunLabel::FilesDone, "lblFilesTransfered"},
        {1, 3, caption("lblBytesTrans"), RunLabel::BytesDone, "lblBytesTransfered"},
        {2, 3, caption("lblRateCaption", "Bytes/Second"), RunLabel::BytesPerSecond,
         "lblBytesPerSecond"},
        {3, 3, caption("lblRemainingCaption", "Time Remaining"), RunLabel::Remaining,
         "lblRemaining"},
    };
    for (const Cell& c : cells) {
        m_labels[Slot(c.value)] = ValueLabel(c.name);
        grid->addWidget(c.caption, c.row, c.column);
        grid->addWidget(m_labels[Slot(c.value)], c.row, c.column + 1);
    }
    m_labels[Slot(RunLabel::FilesDoneCaption)] = cells[3].caption;
    m_labels[Slot(RunLabel::BytesDoneCaption)] = cells[4].caption;
    grid->setColumnStretch(2, 1);
    grid->setColumnMinimumWidth(2, fontMetrics().horizontalAdvance(QStringLiteral("MMMM")));
    m_pbOverAll = new QProgressBar(this);
    m_pbOverAll->setObjectName("pbOverAll");
    m_pbOverAll->setRange(0, 100);
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
    m_labels[Slot(RunLabel::Result)] = result;
    m_cmdCancel = new QPushButton(row);
    m_cmdCancel->setObjectName("cmdCancel");
    m_cmdCancel->setDefault(true);
    m_cmdCancel->installEventFilter(this); // Enter on it is the logic's to decide
    connect(m_cmdCancel, &QPushButton::clicked, this, &frmBackup::cmdCancel_Click);
    layout->addWidget(result, 1);
    layout->addWidget(m_cmdCancel);
    return row;
}

bool frmBackup::Run(QWidget* parent, bool unloadOnExit) {
    if (!m_logic.CanRun()) {
        return false;
    }
    ShowInstead(parent);
    m_log->Clear();
    m_logWidth->Reset();
    m_lastEvents = std::chrono::steady_clock::now();
    m_timer.start();
    const bool succeeded = m_logic.Run(unloadOnExit);
    m_timer.stop();
    FlushLog();
    if (m_logic.UnloadWhenRunEnds()) {
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
    m_cmdCancel->setFocus();
    WaitUntilPlaced();
}

// A window shown a moment ago has not yet been placed by the window manager, and a
// question asked at once (a small selection totals in no time) would be centred on where
// the window was first put: over a corner of it. So the run starts once the window is on
// the screen, or after half a second at most.
void frmBackup::WaitUntilPlaced() {
    constexpr int kMaxWaitMs = 500;
    QElapsedTimer waited;
    waited.start();
    while (windowHandle() != nullptr && !windowHandle()->isExposed() &&
           waited.elapsed() < kMaxWaitMs) {
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents, 10);
    }
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

void frmBackup::CancelRun() {
    cmdCancel_Click();
}

void frmBackup::Interrupt() {
    if (m_logic.Interrupt()) {
        Unload();
    }
}

void frmBackup::cmdCancel_Click() {
    if (m_logic.ButtonClicked()) {
        Unload();
    }
}

// Escape and Enter that no control took (the log list and the labels pass them on) reach
// the window.
void frmBackup::keyPressEvent(QKeyEvent* event) {
    if (!PressKey(event->key())) {
        QWidget::keyPressEvent(event);
    }
}

// The button would click itself on Enter, as a default button does, even during a run.
bool frmBackup::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_cmdCancel && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter) {
            PressKey(key);
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

// True when the key was Escape or Enter (pressing the button or not).
bool frmBackup::PressKey(int key) {
    using Key = ui::RunWindowLogic::Key;
    if (key != Qt::Key_Escape && key != Qt::Key_Return && key != Qt::Key_Enter) {
        return false;
    }
    if (m_logic.KeyPressesButton(key == Qt::Key_Escape ? Key::Escape : Key::Enter)) {
        m_cmdCancel->click();
    }
    return true;
}

// --- What the logic shows ----------------------------------------------------------------

void frmBackup::ShowText(RunLabel which, const std::string& text) {
    const QString value = QString::fromStdString(text);
    switch (which) {
    case RunLabel::Caption:
        setWindowTitle(value);
        return;
    case RunLabel::CurrentFrame:
        m_fraCurrent->setTitle(value);
        return;
    case RunLabel::OverallFrame:
        m_fraOverall->setTitle(value);
        return;
    case RunLabel::Button:
        m_cmdCancel->setText(value);
        return;
    default:
        break;
    }
    if (QLabel* label = m_labels[Slot(which)]; label != nullptr) {
        label->setText(value);
    }
}

void frmBackup::ShowBar(ui::RunBar which, int value) {
    (which == ui::RunBar::Current ? m_pbCurrent : m_pbOverAll)->setValue(value);
}

void frmBackup::AddLogLine(const std::string& line) {
    m_log->AddLine(QString::fromStdString(line));
}

void frmBackup::AppendToLastLogLine(const std::string& text) {
    m_log->AppendToLastLine(QString::fromStdString(text));
}

MsgAnswer frmBackup::ShowQuestion(const Question& question) {
    FlushLog(); // the list shows what led to the question
    return ShowMessageBox(this, QString::fromStdString(question.Title), BoxText(question.Text),
                          question.Buttons);
}

void frmBackup::CloseQuestion() {
    if (QWidget* question = QApplication::activeModalWidget()) {
        question->close(); // answered as its close box answers
    }
}

void frmBackup::PumpMessages() {
    const auto now = std::chrono::steady_clock::now();
    if (now - m_lastEvents < kEventInterval) {
        return;
    }
    FlushLog();
    QCoreApplication::processEvents();
    m_lastEvents = std::chrono::steady_clock::now();
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

void frmBackup::closeEvent(QCloseEvent* event) {
    using Close = ui::RunWindowLogic::CloseRequest;
    const auto action = m_logic.CloseRequested(m_unloading ? Close::Program : Close::User);
    if (action == ui::RunWindowLogic::CloseAction::Refuse) {
        event->ignore();
        return;
    }
    ShowParent();
    if (action == ui::RunWindowLogic::CloseAction::Hide) {
        // The finished run is still ejecting the medium: the window goes now, the object
        // stays until Run returns.
        event->ignore();
        hide();
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
    window->Run(mainWindow, unloadOnExit);
    const RunResult result = window->Result();
    if (unloadOnExit) {
        // Closed by Run; nothing owns it when there is no main window.
        QCoreApplication::sendPostedEvents(window, QEvent::DeferredDelete);
    }
    return ExitStatus(result);
}

} // namespace tessaron::gui
