#pragma once
// SystemPlaces: the real IPlaces, each member handed to clsFileSystem (or to the open
// clsFolder), whose failure it gives back as the record of that one call.

#include "platform/IPlaces.h"
#include "platform/clsFileSystem.h"

namespace tessaron {

class SystemPlaces : public IPlaces {
public:
    std::vector<std::string> ProtectedFolders() override;
    bool IsSameOrInside(const std::string& inner, const std::string& outer) override;
    bool IsSameOrInside(const std::string& inner, const FileIdentity& outer) override;
    bool IsMountRoot(clsFolder& folder, SysError& error) override;
    std::string GetDriveType(const std::string& path, SysError& error) override;
    double GetDriveFreeSpace(const std::string& path, SysError& error) override;
    std::string ProgramLogDir(SysError& error) override;
    bool EjectMedia(const std::string& path, SysError& error) override;

private:
    // The result of one call of m_fs; error is the record that call left when failed says
    // the result is a failure, else empty.
    template <class Result, class Call>
    Result Ask(SysError& error, Call&& call, bool (*failed)(const Result&));

    clsFileSystem m_fs;
};

} // namespace tessaron
