// The run log: its file, its lines and the displayed lines kept for the mail.
#include "engine/RunLog.h"

#include "platform/DateTime.h"
#include "platform/clsPath.h"

#include <algorithm>

namespace tessaron {

namespace {

constexpr size_t kShownHeadLimit = 4u << 20;
constexpr size_t kShownTailLines = 200;
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

void ShownLines::Clear() {
    m_head.clear();
    m_tail.clear();
    m_dropped = 0;
}

void ShownLines::Add(const std::string& line) {
    if (m_tail.empty() && m_head.size() + line.size() + 2 <= kShownHeadLimit) {
        m_head.append(line).append("\r\n");
        return;
    }
    m_tail.push_back(line);
    if (m_tail.size() > kShownTailLines) {
        m_tail.pop_front();
        ++m_dropped;
    }
}

void ShownLines::Append(const std::string& text) {
    if (!m_tail.empty()) {
        m_tail.back() += text;
    } else if (m_head.size() >= 2) {
        m_head.insert(m_head.size() - 2, text);
    }
}

std::string ShownLines::Text() const {
    std::string text = m_head;
    if (m_dropped > 0) {
        text += "... " + std::to_string(m_dropped) +
                " lines left out here (the log file holds them all) ...\r\n";
    }
    for (const auto& line : m_tail) {
        text.append(line).append("\r\n");
    }
    return text;
}

void RunLog::Start(IFileAccess& fa, const std::string& dir, const SysError& noFolder) {
    Close();
    m_fa = &fa;
    m_dir = dir;
    m_size = 0;
    m_lines = 0;
    m_failed = false;
    m_folderId = m_fileId = FileIdentity{};
    m_shown.Clear();
    if (noFolder) {
        m_file = MakeLogFileName(fa, dir);
        SayFailure(noFolder);
        return;
    }
    for (int attempt = 0; attempt < kLogNameAttempts; ++attempt) {
        m_file = MakeLogFileName(fa, dir);
        if (fa.CreateLog(m_log, m_file)) {
            FileInfo info;
            SysError error;
            m_fileId = fa.GetPathInfo(m_file, info, error) ? info.Id : FileIdentity{};
            m_folderId = fa.GetPathInfo(dir, info, error) ? info.Id : FileIdentity{};
            return;
        }
        if (!m_log.Error().IsExists()) {
            break;
        }
    }
    SayFailure(m_log.Error());
}

void RunLog::Close() {
    m_log.CloseFile();
}

const std::string& RunLog::TimeStamp() {
    // One formatted stamp per second: thousands of lines a second share it.
    const std::time_t now = std::time(nullptr);
    if (now != m_stampTime || m_stampText.empty()) {
        m_stampTime = now;
        m_stampText = DateTime::FromTimeT(now).Format();
    }
    return m_stampText;
}

void RunLog::AddLogLine(const std::string& text, bool display) {
    const std::string line = TimeStamp() + " - " + EscapeControls(text);
    ++m_lines;
    WriteFile(line, false);
    if (display) {
        m_view.LogLine(line);
        m_shown.Add(line);
    }
}

void RunLog::AppendLogLine(const std::string& text, bool display) {
    const std::string shown = EscapeControls(text);
    WriteFile(shown, true);
    if (display) {
        m_view.AppendToLastLine(shown);
        m_shown.Append(shown);
    }
}

void RunLog::LogError(const std::string& what, const std::string& path, const SysError& error) {
    AddLogLine(what + " - " + path + ", Error: (" + std::to_string(error.Code()) + ") " +
               error.Text());
}

// Said once per run, on screen and through the view's warning, never through the log
// file that just failed. The run goes on and its result does not change.
void RunLog::SayFailure(const SysError& error) {
    if (m_failed) {
        return;
    }
    m_failed = true;
    const std::string text = "Unable to write log file - " + EscapeControls(m_file) + ", Error: (" +
                             std::to_string(error.Code()) + ") " + error.Text();
    const std::string line = TimeStamp() + " - " + text;
    m_view.LogLine(line);
    m_shown.Add(line);
    m_view.Warning(text);
}

// Writes line + CR LF at the end of the file, or with continueLast over its final CR LF:
// by position, so no separate seek is needed, and line and line end in one write, so a
// reader never sees half a line end.
void RunLog::WriteFile(const std::string& line, bool continueLast) {
    if (m_fa == nullptr || !m_log.IsOpen()) {
        return; // no run yet, or the run's log could not be made (said once)
    }
    const long long pos = continueLast ? std::max(0LL, m_size - 2) : m_size;
    m_line.assign(line).append("\r\n");
    if (m_fa->WriteAt(m_log, m_line.data(), m_line.size(), pos)) {
        m_size = std::max(m_size, pos + static_cast<long long>(m_line.size()));
    } else {
        SayFailure(m_log.Error());
    }
}

std::string RunLog::MakeLogFileName(IFileAccess& fa, const std::string& dir) {
    const DateTime today = DateTime::Now();
    const std::string base = clsPath::Join(dir, "BackupLog_", NativePathStyle()) +
                             std::to_string(today.Year) + TwoDigits(today.Month) +
                             TwoDigits(today.Day);
    std::string name = base + ".log";
    for (long n = 1; fa.Exists(name); ++n) {
        name = base + "_" + std::to_string(n) + ".log";
    }
    return name;
}

} // namespace tessaron
