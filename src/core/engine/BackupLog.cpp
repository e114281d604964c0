// The run log (file and displayed lines) and the progress display.
#include "engine/BackupEngine.h"
#include "engine/NumberText.h"

#include <algorithm>
#include <cmath>

namespace tessaron {

namespace {

constexpr size_t kShownHeadLimit = 4u << 20;
constexpr size_t kShownTailLines = 200;
constexpr auto kRefreshInterval = std::chrono::milliseconds(500);

std::string TwoDigits(int n) {
    return std::string(1, static_cast<char>('0' + (n / 10) % 10)) + static_cast<char>('0' + n % 10);
}

} // namespace

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
    const std::string line = TimeStamp() + " - " + text;
    WriteLogFile(line, false);
    if (display) {
        m_view.AddLine(line);
        KeepDisplayedLine(line);
    }
}

void BackupEngine::AppendLogLine(const std::string& text, bool display) {
    WriteLogFile(text, true);
    if (display) {
        m_view.AppendToLastLine(text);
        AppendDisplayedLine(text);
    }
}

void BackupEngine::WriteLogFile(const std::string& line, bool continueLast) {
    if (m_logFile.empty()) {
        return;
    }
    if (!m_log.IsOpen() || m_logOpenName != m_logFile) {
        m_logOpenName = m_logFile;
        if (!m_log.OpenFile(m_logFile, FileAccess::Write, FileShare::Read, FileOpen::OpenAlways,
                            FileAttr::Normal)) {
            m_logOpenName.clear();
            return;
        }
        m_logSize = std::max(0LL, m_log.FileSize());
    }
    // Written at the known end (or over the last line end) by position, so that no
    // separate seek is needed; line and line end in one write, so a reader never sees
    // half a line end.
    const long long pos = continueLast ? std::max(0LL, m_logSize - 2) : m_logSize;
    m_logLine.assign(line).append("\r\n");
    if (m_log.WriteBlockAt(m_logLine.data(), m_logLine.size(), pos)) {
        m_logSize = std::max(m_logSize, pos + static_cast<long long>(m_logLine.size()));
    }
}

std::string BackupEngine::MakeLogFileName(const std::string& dir) {
    std::string base = dir;
    if (base.empty() || base.back() != '/') {
        base += '/';
    }
    const DateTime today = DateTime::Now();
    base +=
        "BackupLog_" + std::to_string(today.Year) + TwoDigits(today.Month) + TwoDigits(today.Day);
    std::string name = base + ".log";
    for (long n = 1; m_fs.Exists(name); ++n) {
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

void BackupEngine::UpdateProgress() {
    m_lastRefresh = std::chrono::steady_clock::now();
    clsProgress& p = *m_progress;
    auto grouped = [](std::int64_t n, bool show) { return show ? FormatGrouped(n) : ""; };
    m_view.SetText(ViewText::CurrentFile, p.CurrentFile);
    m_view.SetText(ViewText::Files, grouped(p.TotalFiles, p.TotalFiles > 0));
    m_view.SetText(ViewText::Bytes, grouped(p.TotalBytes, p.TotalBytes > 0));
    m_view.SetText(ViewText::FilesTransferred, grouped(p.FilesDone, p.TotalFiles > 0));
    m_view.SetText(ViewText::BytesTransferred, grouped(p.BytesDone, p.TotalBytes > 0));
    if (int v = clsProgress::BarValue(p.CurrentDone, p.CurrentSize); v >= 0) {
        m_view.SetBar(ViewBar::Current, v);
    }
    if (int v = clsProgress::BarValue(p.BytesDone + p.BytesSkipped, p.TotalBytes); v >= 0) {
        m_view.SetBar(ViewBar::Overall, v);
    }
    m_view.SetText(ViewText::WindowCaption, "Backup Progress - " +
                                                std::to_string(m_view.GetBar(ViewBar::Overall)) +
                                                "% Complete");
    p.UpdateElapsedTime();
    if (p.ElapsedTime <= 0) {
        return;
    }
    m_view.SetText(ViewText::Elapsed, p.FormatElapsedTime());
    const double rate = static_cast<double>(p.BytesDone) / p.ElapsedTime * 1000.0;
    p.BytesPerSecond = std::nearbyint(rate * 10000.0) / 10000.0;
    m_view.SetText(ViewText::BytesPerSecond, FormatGrouped(p.BytesPerSecond));
    const std::int64_t remaining = p.TotalBytes - (p.BytesDone + p.BytesSkipped);
    if (p.BytesPerSecond > 0) {
        const double ms = static_cast<double>(remaining) / p.BytesPerSecond * 1000.0;
        p.RemainingTime = static_cast<std::int32_t>(std::clamp(ms, 0.0, 2147483647.0));
    }
    m_view.SetText(ViewText::Remaining, p.FormatRemainingTime());
}

void BackupEngine::YieldPoint() {
    if (m_timerOn && std::chrono::steady_clock::now() - m_lastRefresh >= kRefreshInterval) {
        UpdateProgress();
    }
    m_view.Yield();
}

} // namespace tessaron
