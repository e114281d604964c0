// What follows a run's result: the mail, the log copied into the target, the ejection.
#include "engine/Phases.h"
#include "engine/RunChecks.h"
#include "mail/clsMailer.h"
#include "mail/clsRegSettings.h"
#include "platform/clsPath.h"
#include "setfile/clsSetup.h"

namespace tessaron {

namespace {

// The mailer's host: its lines go into the run log, its waits yield to the view.
class MailHost : public IMailHost {
public:
    explicit MailHost(RunState& run) : m_run(run) {}
    void AddLogLine(const std::string& text, bool display) override {
        m_run.log.AddLogLine(text, display);
    }
    void Yield() override { m_run.view.Yield(); }

private:
    RunState& m_run;
};

// Whatever the result, cancellation included, and before the log is copied, so that the
// mailed text ends with the result line.
void MailLog(RunState& run, RunConfig& config, RunResult result) {
    if (!run.setup->Email) {
        return;
    }
    if (config.settings == nullptr) {
        config.ownSettings = std::make_unique<clsRegSettings>();
        config.settings = config.ownSettings.get();
    }
    MailHost host(run);
    clsMailer mailer(host, *config.settings);
    mailer.TimeoutSeconds(config.mailTimeout);
    mailer.Send_Email(run.setup->EmailTo, ResultText(result), run.log.Shown().Text());
}

void SaveLogToTarget(RunState& run) {
    // A relative target would put the log wherever the process happens to run.
    const std::string& target = run.setup->Target;
    if (!run.setup->SaveLog || !TargetNamesDrive(target)) {
        return;
    }
    const std::string& log = run.log.File();
    const std::string dest =
        clsPath::Join(target, clsPath(log, NativePathStyle()).File(), NativePathStyle());
    SysError error;
    clsFolder folder;
    if (!run.fa->CopyFile(log, dest, error) || !run.fa->OpenFolder(folder, target) ||
        !run.fa->Sync(folder)) {
        run.log.AddLogLine("Unable to copy log file to output directory");
    }
}

void EjectTarget(RunState& run) {
    const std::string& target = run.setup->Target;
    if (!run.setup->EjectMedia || !TargetNamesDrive(target)) {
        return;
    }
    // A medium that stays where the drive is removable must be taken out by hand; any
    // other failure (an optical disc, a fixed disk never ejected) is silent.
    SysError notEjected;
    SysError unknown;
    if (!run.places->EjectMedia(target, notEjected) &&
        run.places->GetDriveType(target, unknown) == "REMOVABLE") {
        run.log.AddLogLine("Unable to eject media, please remove backup media");
    }
}

} // namespace

void EndRun(RunState& state, RunConfig& config, RunResult result, bool& finished) {
    MailLog(state, config, result);
    SaveLogToTarget(state);
    finished = true;
    state.view.Finished();
    EjectTarget(state);
}

} // namespace tessaron
