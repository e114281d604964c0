// The run log (file and displayed lines) and the progress display.
#include "engine/BackupParts.h"
#include "platform/clsPath.h"

#include <algorithm>
#include <cmath>

namespace tessaron {

namespace {

constexpr size_t kShownHeadLimit = 4u << 20;
constexpr size_t kShownTailLines = 200;
constexpr auto kRefreshInterval = std::chrono::milliseconds(500);
constexpr auto kFlushInterval = std::chrono::milliseconds(250);
// Names tried for the run's log before giving up: each one taken meanwhile (by another
// run started at the same moment, or by anything else) moves on to the next number.
constexpr int kLogNameAttempts = 100;

std::string TwoDigits(int n) {
    return std::string(1, static_cast<char>('0' + (n / 10) % 10)) + static_cast<char>('0' + n % 10);
}

bool IsControl(char c) {
    const auto u = static_cast<unsigned char>(c);
    return u < 0x20 || u == 0x7F;
}

} // namespace

std::string EscapeControls(const std::string& text) {
    if (std::none_of(text.begin(), text.end(), IsControl)) {
        return text;
    }
    static const char kHex[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(text.size() + 8);
    for (char c : text) {
        if (!IsControl(c)) {
            out += c;
        } else if (c == '\n' || c == '\r' || c == '\t') {
            out += c == '\n' ? "\\n" : c == '\r' ? "\\r" : "\\t";
        } else {
            const auto u = static_cast<unsigned char>(c);
            out += "\\x";
            out += kHex[u >> 4];
            out += kHex[u & 15];
        }
    }
    return out;
}

std::string BackupEngine::TimeStamp() {
    // One formatted stamp per second: thousands of lines a second share it.
    const std::time_t now = std::time(nullptr);
    if (now != m_stampTime || m_stampText.empty()) {
        m_stampTime = now;
        m_stampText = DateTime::FromTimeT(now).Format();
    }
    return m_stampText;
}

void BackupEngine::AddLogLine(const std::string& text, bool display) {
    const std::string line = TimeStamp() + " - " + EscapeControls(text);
    ++m_linesLogged;
    WriteLogFile(line, false);
    if (display) {
        m_view.LogLine(line);
        KeepDisplayedLine(line);
    }
}

void BackupEngine::AppendLogLine(const std::string& text, bool display) {
    const std::string shown = EscapeControls(text);
    WriteLogFile(shown, true);
    if (display) {
        m_view.AppendToLastLine(shown);
        AppendDisplayedLine(shown);
    }
}

void BackupEngine::LogError(const std::string& what, const std::string& path,
                            const SysError& error) {
    AddLogLine(what + " - " + path + ", Error: (" + std::to_string(error.Code()) + ") " +
                   error.Text(),
               true);
}

// Said once per run, on screen and through the view's warning, never through the log
// file that just failed.
void BackupEngine::LogLogFailure(const SysError& error) {
    if (m_logFailed) {
        return;
    }
    m_logFailed = true;
    const std::string text = "Unable to write log file - " + EscapeControls(m_logFile) +
                             ", Error: (" + std::to_string(error.Code()) + ") " + error.Text();
    const std::string line = TimeStamp() + " - " + text;
    m_view.LogLine(line);
    KeepDisplayedLine(line);
    m_view.Warning(text);
}

void BackupEngine::WriteLogFile(const std::string& line, bool continueLast) {
    if (m_logFile.empty()) {
        return;
    }
    if (!m_log.IsOpen() || m_logOpenName != m_logFile) {
        if (m_ownLog) {
            return; // the run's own log could not be made (said once)
        }
        m_logOpenName = m_logFile;
        if (!m_fa->OpenLog(m_log, m_logFile)) {
            m_logOpenName.clear();
            LogLogFailure(m_log.Error());
            return;
        }
        m_logSize = std::max(0LL, m_log.FileSize());
    }
    // Written at the known end (or over the last line end) by position, so that no
    // separate seek is needed; line and line end in one write, so a reader never sees
    // half a line end.
    const long long pos = continueLast ? std::max(0LL, m_logSize - 2) : m_logSize;
    m_logLine.assign(line).append("\r\n");
    if (m_fa->WriteAt(m_log, m_logLine.data(), m_logLine.size(), pos)) {
        m_logSize = std::max(m_logSize, pos + static_cast<long long>(m_logLine.size()));
    } else {
        LogLogFailure(m_log.Error());
    }
}

// The run's log is made new, never through a link and never shared: a name found taken
// when the file is created is passed over for the next.
void BackupEngine::CreateRunLog() {
    m_log.CloseFile();
    m_ownLog = true;
    m_logSize = 0;
    for (int attempt = 0; attempt < kLogNameAttempts; ++attempt) {
        m_logFile = MakeLogFileName(m_logDir);
        if (m_fa->CreateLog(m_log, m_logFile)) {
            m_logOpenName = m_logFile;
            FileInfo info;
            SysError error;
            m_logFileId = m_fa->GetPathInfo(m_logFile, info, error) ? info.Id : FileIdentity{};
            m_logFolderId = m_fa->GetPathInfo(m_logDir, info, error) ? info.Id : FileIdentity{};
            return;
        }
        if (!m_log.Error().IsExists()) {
            break;
        }
    }
    LogLogFailure(m_log.Error());
}

std::string BackupEngine::MakeLogFileName(const std::string& dir) {
    const DateTime today = DateTime::Now();
    const std::string base = clsPath::Join(dir, "BackupLog_", NativePathStyle()) +
                             std::to_string(today.Year) + TwoDigits(today.Month) +
                             TwoDigits(today.Day);
    std::string name = base + ".log";
    for (long n = 1; m_fa->Exists(name); ++n) {
        name = base + "_" + std::to_string(n) + ".log";
    }
    return name;
}

void BackupEngine::KeepDisplayedLine(const std::string& line) {
    if (m_shownTail.empty() && m_shownHead.size() + line.size() + 2 <= kShownHeadLimit) {
        m_shownHead.append(line).append("\r\n");
        return;
    }
    m_shownTail.push_back(line);
    if (m_shownTail.size() > kShownTailLines) {
        m_shownTail.pop_front();
        ++m_shownDropped;
    }
}

void BackupEngine::AppendDisplayedLine(const std::string& text) {
    if (!m_shownTail.empty()) {
        m_shownTail.back() += text;
    } else if (m_shownHead.size() >= 2) {
        m_shownHead.insert(m_shownHead.size() - 2, text);
    }
}

std::string BackupEngine::GetLogText() const {
    std::string text = m_shownHead;
    if (m_shownDropped > 0) {
        text += "... " + std::to_string(m_shownDropped) +
                " lines left out here (the log file holds them all) ...\r\n";
    }
    for (const auto& line : m_shownTail) {
        text.append(line).append("\r\n");
    }
    return text;
}

// Measures the clock and the rate (the remaining time only while there is a rate) and
// hands the counters to the view, which formats them.
void BackupEngine::UpdateProgress() {
    m_lastRefresh = std::chrono::steady_clock::now();
    clsProgress& p = *m_progress;
    p.UpdateElapsedTime();
    if (p.ElapsedTime > 0) {
        const double rate = static_cast<double>(p.BytesDone) / p.ElapsedTime * 1000.0;
        p.BytesPerSecond = std::nearbyint(rate * 10000.0) / 10000.0;
        const std::int64_t remaining = p.TotalBytes - (p.BytesDone + p.BytesSkipped);
        if (p.BytesPerSecond > 0) {
            const double ms = static_cast<double>(remaining) / p.BytesPerSecond * 1000.0;
            p.RemainingTime = static_cast<std::int32_t>(std::clamp(ms, 0.0, 2147483647.0));
        }
    }
    m_view.Progress(p);
}

void BackupEngine::YieldPoint() {
    const auto now = std::chrono::steady_clock::now();
    if (m_timerOn && now - m_lastRefresh >= kRefreshInterval) {
        UpdateProgress();
    }
    if (m_overlap && m_phase == Phase::Copy && now - m_lastFlush >= kFlushInterval) {
        FlushEarly(now);
    }
    m_view.Yield();
}

} // namespace tessaron
