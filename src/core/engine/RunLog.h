#pragma once
// RunLog: the run's log file and the lines shown on screen. Every line goes to the file the
// moment it is logged (one write each, so the file is complete at every moment); displayed
// lines also go to the view and are kept, a bounded head and tail, for the mailed log.

#include "engine/IBackupView.h"
#include "platform/IFileAccess.h"
#include "platform/clsBinaryFile.h"

#include <ctime>
#include <deque>
#include <string>

namespace tessaron {

// The displayed lines of a run, each followed by CR LF: a head up to 4 MiB, then the last
// 200 lines, with one line saying how many were left out between them.
class ShownLines {
public:
    void Clear();
    void Add(const std::string& line);
    // Appends text to the last line.
    void Append(const std::string& text);
    std::string Text() const;

private:
    std::string m_head;
    std::deque<std::string> m_tail;
    long long m_dropped = 0;
};

class RunLog {
public:
    // The view must outlive the log.
    explicit RunLog(IBackupView& view) : m_view(view) {}

    // Starts the run's own log: a new file in dir (made when missing), never through a
    // link and never shared; a name found taken when it is created is passed over for the
    // next. A failure is said once, on screen and through the view's warning; noFolder,
    // when set, is why there is no folder dir to write in, and said as that failure.
    void Start(IFileAccess& fa, const std::string& dir, const SysError& noFolder);
    // Closes the file; the lines kept for the mail stay until the next Start.
    void Close();

    // Writes date-time + " - " + text as a new line of the log file; with display also to
    // the view's list and to Text(). Control characters in text are shown escaped.
    void AddLogLine(const std::string& text, bool display = true);
    // Appends text to the last line (no time stamp); with display also to the view's last.
    void AppendLogLine(const std::string& text, bool display = true);
    // what + " - " + path + ", Error: (" + code + ") " + message, displayed.
    void LogError(const std::string& what, const std::string& path, const SysError& error);

    // dir + separator (when missing) + "BackupLog_" + yyyymmdd + ".log", or the first free
    // "BackupLog_" + yyyymmdd + "_" + n + ".log" (n = 1, 2, ...) when that one exists.
    static std::string MakeLogFileName(IFileAccess& fa, const std::string& dir);

    const std::string& Dir() const { return m_dir; }
    const std::string& File() const { return m_file; }
    // The identities of the log folder and file (invalid when unknown): left out of every
    // walk and of the clearing.
    const FileIdentity& FolderId() const { return m_folderId; }
    const FileIdentity& FileId() const { return m_fileId; }
    // Lines logged so far in this run.
    long long Lines() const { return m_lines; }
    const ShownLines& Shown() const { return m_shown; }

private:
    void WriteFile(const std::string& line, bool continueLast);
    void SayFailure(const SysError& error);
    const std::string& TimeStamp();

    IBackupView& m_view;
    IFileAccess* m_fa = nullptr;
    std::string m_dir;
    std::string m_file;
    clsBinaryFile m_log;
    long long m_size = 0; // where the next line goes
    bool m_failed = false;
    FileIdentity m_folderId;
    FileIdentity m_fileId;
    long long m_lines = 0;
    std::string m_line; // the line being written, kept to reuse its memory
    std::string m_stampText;
    std::time_t m_stampTime = 0;
    ShownLines m_shown;
};

// text with every control character (below 0x20, and 0x7F) shown visibly: "\n", "\r",
// "\t", or "\x" and two upper-case hex digits; everything else kept as it is.
std::string EscapeControls(const std::string& text);

} // namespace tessaron
