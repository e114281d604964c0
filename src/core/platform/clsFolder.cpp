// The parts of clsFolder that do not depend on the operating system.
#include "platform/clsFolder.h"

namespace tessaron {

clsFolder::~clsFolder() {
    Close();
}

void clsFolder::FirstFileGot(unsigned uid, unsigned gid, bool modeAsPredicted) {
    m_checked = true;
    m_newUid = uid;
    m_newGid = gid;
    m_modePredictable = m_modePredictable && modeAsPredicted;
}

} // namespace tessaron
