// The engine's face: the run's settings in, its state out.
#include "engine/BackupEngine.h"

#include "engine/Phases.h"

namespace tessaron {

BackupEngine::BackupEngine(IBackupView& view) : m_run(std::make_unique<BackupRun>(view)) {}

BackupEngine::~BackupEngine() = default;

void BackupEngine::Setup(clsSetup& setup) {
    m_run->state.setup = &setup;
}

void BackupEngine::LogDir(const std::string& dir) {
    m_run->config.logDir = dir;
}

const std::string& BackupEngine::LogDir() const {
    return m_run->config.logDir;
}

void BackupEngine::Settings(const clsRegSettings& settings) {
    m_run->config.settings = &settings;
}

void BackupEngine::MailTimeout(int seconds) {
    m_run->config.mailTimeout = seconds;
}

void BackupEngine::FileAccess(IFileAccess& access) {
    m_run->state.fa = &access;
}

void BackupEngine::Places(IPlaces& places) {
    m_run->state.places = &places;
}

void BackupEngine::Overlap(bool on) {
    m_run->config.overlap = on;
}

void BackupEngine::Writers(int count) {
    m_run->config.writers = count;
}

bool BackupEngine::Overlap() const {
    return m_run->config.overlap;
}

bool BackupEngine::Run() {
    return m_run->Run();
}

RunResult BackupEngine::Result() const {
    return m_run->result;
}

void BackupEngine::Cancel() {
    m_run->state.cancelled = true;
}

bool BackupEngine::Cancelled() const {
    return m_run->state.cancelled;
}

bool BackupEngine::Finished() const {
    return m_run->finished;
}

const std::string& BackupEngine::LogFile() const {
    return m_run->state.log.File();
}

const clsProgress& BackupEngine::Progress() const {
    return m_run->state.progress;
}

void BackupEngine::VerifyFile(const std::string& source, const std::string& target, bool& ok) {
    RunState& s = m_run->state;
    s.EnsureBuffers();
    FileInfo info;
    SysError error;
    if (!s.fa->GetPathInfo(source, info, error)) {
        s.StartFile(source);
        s.log.LogError("Unable to open", source, error);
        ok = false;
        return;
    }
    CopyFolder folder;
    std::string name;
    m_run->folders.FolderOfCopy(target, false, folder, name);
    ok =
        m_run->verifier.VerifyFile(Source{nullptr, name, source, info}, Dest{folder, name, target});
}

void BackupEngine::AddLogLine(const std::string& text, bool display) {
    m_run->state.log.AddLogLine(text, display);
}

std::string BackupEngine::MakeLogFileName(const std::string& dir) {
    return RunLog::MakeLogFileName(*m_run->state.fa, dir);
}

std::string BackupEngine::GetLogText() const {
    return m_run->state.log.Shown().Text();
}

void BackupEngine::UpdateProgress() {
    m_run->state.UpdateProgress();
}

} // namespace tessaron
