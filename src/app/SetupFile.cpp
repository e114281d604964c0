#include "SetupFile.h"

#include "setfile/SetupLoad.h"
#include "setfile/clsSetup.h"

#include <ostream>
#include <sstream>

namespace tessaron {

namespace {

std::string YesNo(bool b) {
    return b ? "yes" : "no";
}

} // namespace

bool LoadSetup(const std::string& fileName, clsSetup& setup, std::ostream& messages) {
    std::string reason;
    if (LoadSetupFile(fileName, setup, reason)) {
        return true;
    }
    messages << "Unable to load setup file - " << fileName << ": " << reason << std::endl;
    return false;
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
