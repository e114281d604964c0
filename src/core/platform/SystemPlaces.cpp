// The real places: each member hands its work to clsFileSystem or to the open folder.
#include "platform/SystemPlaces.h"

namespace tessaron {

template <class Result, class Call>
Result SystemPlaces::Ask(SysError& error, Call&& call, bool (*failed)(const Result&)) {
    m_fs.LastErrorInfo = SysError();
    Result result = call();
    error = failed(result) ? m_fs.LastErrorInfo : SysError();
    return result;
}

std::vector<std::string> SystemPlaces::ProtectedFolders() {
    return m_fs.ProtectedFolders();
}

bool SystemPlaces::IsSameOrInside(const std::string& inner, const std::string& outer) {
    return m_fs.IsSameOrInside(inner, outer);
}

bool SystemPlaces::IsSameOrInside(const std::string& inner, const FileIdentity& outer) {
    return m_fs.IsSameOrInside(inner, outer);
}

bool SystemPlaces::IsMountRoot(clsFolder& folder, SysError& error) {
    folder.LastErrorCode = 0;
    const bool root = folder.IsMountRoot();
    error = root ? SysError() : folder.Error();
    return root;
}

std::string SystemPlaces::GetDriveType(const std::string& path, SysError& error) {
    return Ask<std::string>(
        error, [&] { return m_fs.GetDriveType(path); },
        [](const std::string& type) { return type.empty(); });
}

double SystemPlaces::GetDriveFreeSpace(const std::string& path, SysError& error) {
    // 0 is also the free space of a full medium, which leaves no record.
    return Ask<double>(
        error, [&] { return m_fs.GetDriveFreeSpace(path); },
        [](const double& free) { return free == 0; });
}

std::string SystemPlaces::ProgramLogDir(SysError& error) {
    return Ask<std::string>(
        error, [&] { return m_fs.ProgramLogDir(); },
        [](const std::string& dir) { return dir.empty(); });
}

bool SystemPlaces::EjectMedia(const std::string& path, SysError& error) {
    return Ask<bool>(
        error, [&] { return m_fs.EjectMedia(path); }, [](const bool& ejected) { return !ejected; });
}

} // namespace tessaron
