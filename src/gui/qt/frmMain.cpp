#include "frmMain.h"

#include "MessageBoxes.h"
#include "Twips.h"
#include "clsComDlg.h"

#include "ui/WindowPlacement.h"

#include "mail/clsRegSettings.h"
#include "platform/clsFileSystem.h"

#include <QAction>
#include <QButtonGroup>
#include <QCheckBox>
#include <QCloseEvent>
#include <QDir>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QGuiApplication>
#include <QHideEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QShowEvent>
#include <QSplitter>
#include <QStatusBar>
#include <QVBoxLayout>

namespace tessaron::gui {

namespace {

// The designed size of a new window, in twips.
constexpr int kStartWidth = 12600;
constexpr int kStartHeight = 8400;

template <typename W> W* Named(W* widget, const char* name) {
    widget->setObjectName(name);
    return widget;
}

QAction* AddItem(QMenu* menu, const char* name, const QString& text, const char* keys,
                 frmMain* window, void (frmMain::*command)()) {
    QAction* action = menu->addAction(text);
    action->setObjectName(name);
    if (keys != nullptr) {
        action->setShortcut(QKeySequence(QString(keys)));
    }
    QObject::connect(action, &QAction::triggered, window,
                     [window, command] { (window->*command)(); });
    return action;
}

// Where the set file dialogs open when there is no current file: the program's folder
// when the user may write there, else the home folder.
std::string DefaultSetFolder() {
    const std::string program = clsFileSystem::ProgramDir();
    if (!program.empty() && QFileInfo(QString::fromStdString(program)).isWritable()) {
        return program;
    }
    return QDir::homePath().toStdString();
}

ui::Rect RectOf(const QRect& r) {
    return {r.left(), r.top(), r.width(), r.height()};
}

} // namespace

frmMain::frmMain(clsRegSettings& settings, MainWindowHooks hooks, QWidget* parent)
    : QMainWindow(parent), m_settings(settings), m_hooks(std::move(hooks)),
      m_logic(*this, DefaultSetFolder()) {
    setObjectName("frmMain");
    BuildMenus();
    setCentralWidget(BuildCentre());
    m_status = new QLabel(this);
    statusBar()->addWidget(m_status, 1);
    connect(m_browser, &SelectionBrowser::StatusText, m_status, &QLabel::setText);
    ConnectOptions();
    m_logic.ShowAll();
    setMinimumSize(MinimumWindowSize());
    resize(TwipsToPixels(kStartWidth, this), TwipsToPixels(kStartHeight, this, Qt::Vertical));
    RestorePlacement();
    m_browser->Start();
}

frmMain::~frmMain() = default;

QSize frmMain::MinimumWindowSize() const {
    return {TwipsToPixels(10000, this), TwipsToPixels(6000, this, Qt::Vertical)};
}

void frmMain::BuildMenus() {
    QMenu* file = menuBar()->addMenu("&File");
    file->setObjectName("mnuFile");
    AddItem(file, "mnuNew", "&New Backup Set", "Ctrl+N", this, &frmMain::ResetSetup);
    AddItem(file, "mnuLoad", "&Load Backup Set...", "Ctrl+O", this, &frmMain::Load);
    AddItem(file, "mnuSave", "&Save Backup Set", "Ctrl+S", this, &frmMain::Save);
    AddItem(file, "mnuSaveAs", "Save Backup Set &As...", "Ctrl+Shift+S", this, &frmMain::SaveAs);
    file->addSeparator();
    QAction* exit = file->addAction("E&xit", this, &QWidget::close);
    exit->setObjectName("mnuExit");
    exit->setShortcut(QKeySequence(QString("Ctrl+Q")));
    QMenu* view = menuBar()->addMenu("&View");
    view->setObjectName("mnuView");
    AddItem(view, "mnuRefresh", "&Refresh", "F5", this, &frmMain::Refresh);
    QMenu* action = menuBar()->addMenu("&Action");
    action->setObjectName("mnuAction");
    AddItem(action, "mnuStart", "&Start Backup", nullptr, this, &frmMain::Start);
    action->addAction("&Email Setup", this, [this] { m_hooks.EmailSetup(this); })
        ->setObjectName("mnuEmailSetup");
    QMenu* help = menuBar()->addMenu("&Help");
    help->setObjectName("mnuHelp");
    QAction* contents = help->addAction("&Contents...", this, [this] { m_hooks.Contents(this); });
    contents->setObjectName("mnuContents");
    contents->setShortcut(QKeySequence(QString("F1")));
    help->addAction("&About...", this, [this] { m_hooks.About(this); })->setObjectName("mnuAbout");
}

QWidget* frmMain::BuildCentre() {
    auto* centre = new QWidget(this);
    auto* layout = new QVBoxLayout(centre);
    auto* label = new QLabel("Select Files &To Copy:", centre);
    m_split = Named(new QSplitter(Qt::Horizontal, centre), "splSelect");
    m_split->setChildrenCollapsible(false);
    m_browser = new SelectionBrowser(m_logic.Setup().Sel, m_split);
    m_split->addWidget(m_browser->Tree());
    m_split->addWidget(m_browser->ListView());
    m_split->setStretchFactor(1, 1);
    label->setBuddy(m_browser->Tree());
    layout->addWidget(label);
    layout->addWidget(m_split, 1);
    layout->addWidget(BuildBottomFrame());
    return centre;
}

QGroupBox* frmMain::BuildTypeFrame() {
    auto* frame = Named(new QGroupBox("Backup Type"), "fraType");
    auto* layout = new QVBoxLayout(frame);
    m_ui.optFull = Named(new QRadioButton("F&ull", frame), "optFull");
    m_ui.optIncremental = Named(new QRadioButton("&Incremental", frame), "optIncremental");
    auto* group = new QButtonGroup(frame);
    group->addButton(m_ui.optFull);
    group->addButton(m_ui.optIncremental);
    layout->addWidget(m_ui.optFull);
    layout->addWidget(m_ui.optIncremental);
    layout->addStretch(1);
    return frame;
}

// Four rows, so that the tree and the list keep the height the window can spare.
QGroupBox* frmMain::BuildBottomFrame() {
    auto* frame = m_ui.fraBottom = Named(new QGroupBox("Options"), "fraBottom");
    auto* grid = new QGridLayout(frame);
    auto* outputLabel = new QLabel("Select &Output Directory", frame);
    m_ui.txtOutput = Named(new QLineEdit(frame), "txtOutput");
    outputLabel->setBuddy(m_ui.txtOutput);
    m_ui.cmdBrowse = Named(new QPushButton("&Browse", frame), "cmdBrowse");
    m_ui.chkClean = Named(new QCheckBox("&Clear Output Directory Before Backup"), "chkClean");
    m_ui.chkSaveLog = Named(new QCheckBox("Save Backup &Log to Output Directory"), "chkSaveLog");
    m_ui.chkStopOnError = Named(new QCheckBox("Stop On &Error"), "chkStopOnError");
    m_ui.chkVerify = Named(new QCheckBox("Ve&rify Files"), "chkVerify");
    m_ui.chkEject = Named(new QCheckBox("E&ject Media"), "chkEject");
    m_ui.chkEmail = Named(new QCheckBox("E&mail Log To:"), "chkEmail");
    m_ui.txtEmailTo = Named(new QLineEdit(frame), "txtEmailTo");
    m_ui.cmdStart = Named(new QPushButton("&Start", frame), "cmdStart");
    m_ui.cmdStart->setMinimumWidth(TwipsToPixels(1400, this));
    auto* output = new QHBoxLayout;
    output->addWidget(outputLabel);
    output->addWidget(m_ui.txtOutput, 1);
    output->addWidget(m_ui.cmdBrowse);
    auto* email = new QHBoxLayout;
    email->addWidget(m_ui.chkEmail);
    email->addWidget(m_ui.txtEmailTo, 1);
    grid->addLayout(output, 0, 0, 1, 4);
    grid->addWidget(BuildTypeFrame(), 1, 0, 3, 1);
    grid->addWidget(m_ui.chkClean, 1, 1);
    grid->addWidget(m_ui.chkSaveLog, 2, 1);
    grid->addWidget(m_ui.chkStopOnError, 3, 1);
    grid->addWidget(m_ui.chkVerify, 1, 2);
    grid->addWidget(m_ui.chkEject, 2, 2);
    grid->addLayout(email, 3, 2);
    grid->addWidget(m_ui.cmdStart, 3, 3);
    grid->setColumnStretch(2, 1);
    frame->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    connect(m_ui.cmdBrowse, &QPushButton::clicked, this, &frmMain::Browse);
    connect(m_ui.cmdStart, &QPushButton::clicked, this, &frmMain::Start);
    return frame;
}

void frmMain::ConnectSwitch(QCheckBox* box, ui::Switch which) {
    connect(box, &QCheckBox::toggled, this,
            [this, which](bool on) { m_logic.SwitchChanged(which, on); });
}

// Every control writes the record through the logic; a button being switched off does
// nothing, the other one being switched on does the work.
void frmMain::ConnectOptions() {
    connect(m_ui.txtOutput, &QLineEdit::textChanged, this,
            [this](const QString& text) { m_logic.OutputChanged(text.toStdString()); });
    connect(m_ui.txtEmailTo, &QLineEdit::textChanged, this,
            [this](const QString& text) { m_logic.EmailToChanged(text.toStdString()); });
    ConnectSwitch(m_ui.chkClean, ui::Switch::Clean);
    ConnectSwitch(m_ui.chkSaveLog, ui::Switch::SaveLog);
    ConnectSwitch(m_ui.chkStopOnError, ui::Switch::StopOnError);
    ConnectSwitch(m_ui.chkVerify, ui::Switch::Verify);
    ConnectSwitch(m_ui.chkEject, ui::Switch::Eject);
    ConnectSwitch(m_ui.chkEmail, ui::Switch::Email);
    connect(m_ui.optFull, &QRadioButton::toggled, this, [this](bool on) {
        if (on) {
            m_logic.TypeChosen(BackupKind::Full);
        }
    });
    connect(m_ui.optIncremental, &QRadioButton::toggled, this, [this](bool on) {
        if (on) {
            m_logic.TypeChosen(BackupKind::Incremental);
        }
    });
}

namespace {

void SetText(QLineEdit* box, const std::string& text) {
    const QString q = QString::fromStdString(text);
    if (box->text() != q) {
        box->setText(q);
    }
}

void SetChecked(QAbstractButton* button, bool on) {
    if (button->isChecked() != on) {
        button->setChecked(on);
    }
}

// Neither button is on for a type other than "FULL" and "INCREMENTAL" (and after New),
// which an exclusive group does not allow while it is exclusive.
void SetType(QRadioButton* full, QRadioButton* incremental, bool isFull, bool isIncremental) {
    if (full->isChecked() == isFull && incremental->isChecked() == isIncremental) {
        return;
    }
    QButtonGroup* group = full->group();
    group->setExclusive(false);
    SetChecked(full, isFull);
    SetChecked(incremental, isIncremental);
    group->setExclusive(true);
}

} // namespace

void frmMain::ShowOptions(const ui::MainWindowOptions& o) {
    SetText(m_ui.txtOutput, o.Output);
    SetType(m_ui.optFull, m_ui.optIncremental, o.Full, o.Incremental);
    SetChecked(m_ui.chkClean, o.Clean);
    m_ui.chkClean->setEnabled(o.CleanEnabled);
    SetChecked(m_ui.chkSaveLog, o.SaveLog);
    SetChecked(m_ui.chkStopOnError, o.StopOnError);
    SetChecked(m_ui.chkVerify, o.Verify);
    SetChecked(m_ui.chkEject, o.Eject);
    SetChecked(m_ui.chkEmail, o.Email);
    SetText(m_ui.txtEmailTo, o.EmailTo);
    m_ui.txtEmailTo->setEnabled(o.EmailToEnabled);
}

void frmMain::ShowCaption(const std::string& caption) {
    setWindowTitle(QString::fromStdString(caption));
}

void frmMain::FocusOutput() {
    m_ui.txtOutput->setFocus();
}

MsgAnswer frmMain::Message(const std::string& title, const std::string& text, MsgButtons buttons) {
    return ShowMessageBox(this, QString::fromStdString(title), QString::fromStdString(text),
                          buttons);
}

std::string frmMain::FileDialog(ui::FileDialogKind kind, const ui::FileDialogRequest& request) {
    clsComDlg dlg(request, this);
    switch (kind) {
    case ui::FileDialogKind::Open:
        return dlg.GetFile();
    case ui::FileDialogKind::Save:
        return dlg.SaveFile();
    case ui::FileDialogKind::Directory:
        break;
    }
    return dlg.GetDirectory();
}

void frmMain::RestorePlacement() {
    const ui::Placement saved = ui::ReadPlacement(m_settings);
    std::vector<ui::Rect> areas;
    for (const QScreen* screen : QGuiApplication::screens()) {
        areas.push_back(RectOf(screen->availableGeometry()));
    }
    if (saved.Normal && !areas.empty()) {
        ui::Rect wanted = *saved.Normal;
        wanted.Width = std::max(wanted.Width, minimumWidth());
        wanted.Height = std::max(wanted.Height, minimumHeight());
        const ui::Rect r = ui::ClampToScreens(wanted, areas);
        setGeometry(r.Left, r.Top, r.Width, r.Height);
    }
    if (saved.Maximized) {
        setWindowState(windowState() | Qt::WindowMaximized);
    }
}

// The split is set once the window is laid out, so that the tree gets exactly its width.
// A window shown again after a run comes back where it was hidden.
void frmMain::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    if (m_hiddenAt) {
        setGeometry(*m_hiddenAt);
        m_hiddenAt.reset();
    }
    if (m_splitPlaced) {
        return;
    }
    m_splitPlaced = true;
    centralWidget()->layout()->activate();
    const int saved = ui::ReadPlacement(m_settings).Split;
    const int tree = saved > 0 ? saved : TwipsToPixels(3600, this);
    m_split->setSizes({tree, std::max(m_split->width() - m_split->handleWidth() - tree, 1)});
}

void frmMain::hideEvent(QHideEvent* event) {
    if (!event->spontaneous() && !isMaximized()) {
        m_hiddenAt = geometry();
    }
    QMainWindow::hideEvent(event);
}

void frmMain::closeEvent(QCloseEvent* event) {
    ui::Placement p;
    p.Normal = RectOf(normalGeometry());
    p.Maximized = isMaximized();
    if (!m_split->sizes().isEmpty()) {
        p.Split = m_split->sizes().front();
    }
    ui::SavePlacement(m_settings, p);
    event->accept();
}

} // namespace tessaron::gui
