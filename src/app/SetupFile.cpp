#include "SetupFile.h"

#include "setfile/clsSetup.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <sstream>
#include <system_error>

namespace tessaron {

namespace {

namespace fs = std::filesystem;

std::string Reason(int code) {
    return std::generic_category().message(code);
}

// Why the path cannot be read as a set file, or empty when it can.
std::string CheckFile(const fs::path& path) {
    std::error_code ec;
    fs::file_status st = fs::status(path, ec);
    if (ec) {
        return ec.message();
    }
    if (fs::is_directory(st)) {
        return Reason(EISDIR);
    }
    // A FIFO or a device would block or never end; a set file is always a plain file.
    if (!fs::is_regular_file(st)) {
        return "Not a regular file";
    }
    std::uintmax_t size = fs::file_size(path, ec);
    if (ec) {
        return ec.message();
    }
    if (size > kMaxSetFileSize) {
        return "File is larger than 16 MiB";
    }
    return {};
}

std::string YesNo(bool b) {
    return b ? "yes" : "no";
}

} // namespace

bool ReadSetFile(const std::string& fileName, std::string& text, std::string& reason) {
    if (fileName.empty()) {
        reason = Reason(ENOENT);
        return false;
    }
    fs::path path(fileName);
    reason = CheckFile(path);
    if (!reason.empty()) {
        return false;
    }
    errno = 0;
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        reason = Reason(errno != 0 ? errno : EACCES);
        return false;
    }
    std::ostringstream buffer;
    buffer << in.rdbuf();
    if (in.bad()) {
        reason = Reason(errno != 0 ? errno : EIO);
        return false;
    }
    text = buffer.str();
    return true;
}

bool LoadSetup(const std::string& fileName, clsSetup& setup, std::ostream& messages) {
    std::string text;
    std::string reason;
    bool ok = ReadSetFile(fileName, text, reason);
    if (ok) {
        setup.Clear();
        ok = setup.Parse(text);
        reason = setup.LastError;
    }
    if (!ok) {
        messages << "Unable to load setup file - " << fileName << ": " << reason << std::endl;
    }
    return ok;
}

std::string SetupSummary(const clsSetup& setup) {
    std::ostringstream s;
    s << "Target:        " << setup.Target << "\n"
      << "Backup type:   " << setup.BackupType << "\n"
      << "Clear target:  " << YesNo(setup.CleanTarget) << "\n"
      << "Save log:      " << YesNo(setup.SaveLog) << "\n"
      << "Stop on error: " << YesNo(setup.StopOnError) << "\n"
      << "Verify:        " << YesNo(setup.Verify) << "\n"
      << "Eject media:   " << YesNo(setup.EjectMedia) << "\n"
      << "Mail log to:   " << (setup.Email ? setup.EmailTo : std::string("no")) << "\n"
      << "Selections:    " << setup.Sel.Count() << "\n";
    for (const clsSelItem& item : setup.Sel) {
        s << "  " << item.path() << "\n";
        for (const std::string& except : item.Except()) {
            s << "    except " << except << "\n";
        }
    }
    return s.str();
}

} // namespace tessaron
