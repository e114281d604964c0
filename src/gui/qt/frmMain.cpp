#include "frmMain.h"

#include "Twips.h"
#include "WindowPlacement.h"

#include "mail/clsRegSettings.h"

#include <QAction>
#include <QButtonGroup>
#include <QCheckBox>
#include <QCloseEvent>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPushButton>
#include <QRadioButton>
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

} // namespace

frmMain::frmMain(clsRegSettings& settings, MainWindowHooks hooks, QWidget* parent)
    : QMainWindow(parent), m_settings(settings), m_hooks(std::move(hooks)) {
    setObjectName("frmMain");
    setWindowTitle(m_baseCaption);
    BuildMenus();
    setCentralWidget(BuildCentre());
    m_status = new QLabel(this);
    statusBar()->addWidget(m_status, 1);
    connect(m_browser, &SelectionBrowser::StatusChanged, m_status, &QLabel::setText);
    ConnectOptions();
    WriteRecordToControls();
    setMinimumSize(MinimumWindowSize());
    resize(TwipsToPixels(kStartWidth, this), TwipsToPixels(kStartHeight, this, Qt::Vertical));
    RestorePlacement(m_settings, *this);
    if (WantsMaximized(m_settings)) {
        setWindowState(windowState() | Qt::WindowMaximized);
    }
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
    m_browser = new SelectionBrowser(m_setup.Sel, m_split);
    m_split->addWidget(m_browser->Tree());
    m_split->addWidget(m_browser->List());
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
    auto* email = new QHBoxLayout;
    email->addWidget(m_ui.chkEmail);
    email->addWidget(m_ui.txtEmailTo, 1);
    grid->addWidget(outputLabel, 0, 0, 1, 4);
    grid->addWidget(m_ui.txtOutput, 1, 0, 1, 4);
    grid->addWidget(m_ui.cmdBrowse, 1, 4);
    grid->addWidget(BuildTypeFrame(), 2, 0, 4, 1);
    grid->addWidget(m_ui.chkClean, 2, 1);
    grid->addWidget(m_ui.chkSaveLog, 3, 1);
    grid->addWidget(m_ui.chkStopOnError, 4, 1);
    grid->addWidget(m_ui.chkVerify, 2, 2);
    grid->addWidget(m_ui.chkEject, 3, 2);
    grid->addLayout(email, 5, 1, 1, 2);
    grid->addWidget(m_ui.cmdStart, 5, 4);
    grid->setColumnStretch(3, 1);
    connect(m_ui.cmdBrowse, &QPushButton::clicked, this, &frmMain::Browse);
    connect(m_ui.cmdStart, &QPushButton::clicked, this, &frmMain::Start);
    return frame;
}

void frmMain::ConnectSwitch(QCheckBox* box, bool clsSetup::*field) {
    connect(box, &QCheckBox::toggled, this, [this, field](bool on) {
        if (!m_writingControls) {
            m_setup.*field = on;
        }
    });
}

void frmMain::ConnectOptions() {
    connect(m_ui.txtOutput, &QLineEdit::textChanged, this, [this](const QString& text) {
        if (!m_writingControls) {
            m_setup.Target = text.toStdString();
        }
    });
    connect(m_ui.txtEmailTo, &QLineEdit::textChanged, this, [this](const QString& text) {
        if (!m_writingControls) {
            m_setup.EmailTo = text.toStdString();
        }
    });
    ConnectSwitch(m_ui.chkClean, &clsSetup::CleanTarget);
    ConnectSwitch(m_ui.chkSaveLog, &clsSetup::SaveLog);
    ConnectSwitch(m_ui.chkStopOnError, &clsSetup::StopOnError);
    ConnectSwitch(m_ui.chkVerify, &clsSetup::Verify);
    ConnectSwitch(m_ui.chkEject, &clsSetup::EjectMedia);
    ConnectSwitch(m_ui.chkEmail, &clsSetup::Email);
    connect(m_ui.chkEmail, &QCheckBox::toggled, m_ui.txtEmailTo, &QWidget::setEnabled);
    ConnectTypeButtons();
}

// Full enables the clearing box again; Incremental unticks and greys it. A button being
// switched off does nothing: the other one being switched on does the work.
void frmMain::ConnectTypeButtons() {
    connect(m_ui.optFull, &QRadioButton::toggled, this, [this](bool on) {
        if (on) {
            if (!m_writingControls) {
                m_setup.BackupType = "FULL";
            }
            m_ui.chkClean->setEnabled(true);
        }
    });
    connect(m_ui.optIncremental, &QRadioButton::toggled, this, [this](bool on) {
        if (on) {
            if (!m_writingControls) {
                m_setup.BackupType = "INCREMENTAL";
            }
            m_ui.chkClean->setChecked(false);
            m_ui.chkClean->setEnabled(false);
        }
    });
}

void frmMain::WriteRecordToControls() {
    m_writingControls = true;
    m_ui.txtOutput->setText(QString::fromStdString(m_setup.Target));
    m_ui.chkClean->setChecked(m_setup.CleanTarget);
    m_ui.chkSaveLog->setChecked(m_setup.SaveLog);
    m_ui.chkStopOnError->setChecked(m_setup.StopOnError);
    ShowBackupType(m_setup.BackupType);
    m_ui.chkVerify->setChecked(m_setup.Verify);
    m_ui.chkEject->setChecked(m_setup.EjectMedia);
    m_ui.chkEmail->setChecked(m_setup.Email);
    m_ui.txtEmailTo->setText(QString::fromStdString(m_setup.EmailTo));
    m_ui.txtEmailTo->setEnabled(m_setup.Email);
    m_writingControls = false;
}

// Neither button is on for a type other than "FULL" and "INCREMENTAL" (and after New).
void frmMain::ShowBackupType(const std::string& type) {
    QButtonGroup* group = m_ui.optFull->group();
    group->setExclusive(false);
    m_ui.optFull->setChecked(false);
    m_ui.optIncremental->setChecked(false);
    group->setExclusive(true);
    if (type == "FULL") {
        m_ui.optFull->setChecked(true);
    } else if (type == "INCREMENTAL") {
        m_ui.optIncremental->setChecked(true);
    }
}

void frmMain::SetCaption() {
    setWindowTitle(m_baseCaption + " - " + QString::fromStdString(m_fileName));
}

// The split is set once the window is laid out, so that the tree gets exactly its width.
void frmMain::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    if (m_splitPlaced) {
        return;
    }
    m_splitPlaced = true;
    centralWidget()->layout()->activate();
    const int saved = SavedTreeWidth(m_settings);
    const int tree = saved > 0 ? saved : TwipsToPixels(3600, this);
    m_split->setSizes({tree, std::max(m_split->width() - m_split->handleWidth() - tree, 1)});
}

void frmMain::closeEvent(QCloseEvent* event) {
    SavePlacement(m_settings, *this, *m_split);
    event->accept();
}

} // namespace tessaron::gui
