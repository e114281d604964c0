// The folders of the copy: the target, the folders above a selection entry's copy, and
// one folder of the copy for every source folder the walk enters.
#include "engine/BackupParts.h"
#include "platform/clsPath.h"

namespace tessaron {

namespace {

constexpr PathStyle kStyle = NativePathStyle();
const char* const kCreateSource = "clsFileSystem.CreateDirectory()";
// Folders made on the way to the target or a copy take the system's default permissions.
constexpr unsigned kNewFolderMode = 0777;

} // namespace

std::string BackupEngine::CopyPath(const std::string& folderPath, const std::string& name) const {
    return clsPath::Join(folderPath, name, kStyle);
}

// Opens the target for the copy phase (making it when missing) or the verify phase.
// False when the copy phase cannot make it (logged once); a verify phase goes on and
// reports every copy it cannot open.
bool BackupEngine::UseTarget(const std::string& target) {
    if (m_target && m_targetArg == target && (m_target->folder.IsOpen() || m_target->error)) {
        return m_target->folder.IsOpen() || m_phase != Phase::Copy; // a failure is said once
    }
    m_target = std::make_unique<CopyFolder>();
    m_targetArg = target;
    m_target->path = clsPath::WithoutTrailingSeparators(target, kStyle);
    const bool copying = m_phase == Phase::Copy;
    const bool existed = !copying || m_fa->Exists(target);
    if (!existed) {
        AddLogLine("Creating " + m_target->path + PathSeparator(kStyle) + "...", false);
    }
    if (copying ? !m_fa->CreateFolder(m_target->folder, target, kNewFolderMode)
                : !m_fa->OpenFolder(m_target->folder, target)) {
        m_target->error = m_target->folder.Error();
        if (copying) {
            AddLogLine("Unable to create target directory - " + target + " " +
                           m_target->error.Line(kCreateSource),
                       true);
        }
        return !copying;
    }
    if (!existed) {
        AppendLogLine("Done", false);
    }
    FileInfo own;
    if (m_fa->GetFolderInfo(m_target->folder, own)) {
        m_outputId = own.Id;
        m_outputPath = target;
    }
    return true;
}

// The folder of the copy path copy, opened (with make: made when missing, one line
// "Creating ...Done" in the log file) and the copy's name in it. False when it cannot be
// made (logged); a folder that cannot be opened keeps the reason for the copy's own line.
bool BackupEngine::FolderOfCopy(const std::string& copy, bool make, CopyFolder& folder,
                                std::string& name) {
    const clsPath parts(copy, kStyle);
    name = parts.File();
    folder.path = clsPath::WithoutTrailingSeparators(parts.Drive + parts.Directory, kStyle);
    const std::string path = folder.path.empty() ? "." : folder.path;
    if (!make) {
        if (!m_fa->OpenFolder(folder.folder, path)) {
            folder.error = folder.folder.Error();
        }
        return true;
    }
    folder.fresh = !m_fa->Exists(path);
    if (folder.fresh) {
        AddLogLine("Creating " + folder.path + PathSeparator(kStyle) + "...", false);
    }
    if (!m_fa->CreateFolder(folder.folder, path, kNewFolderMode)) {
        AddLogLine("Unable to create target directory - " + folder.path + " " +
                       folder.folder.Error().Line(kCreateSource),
                   true);
        return false;
    }
    if (folder.fresh) {
        AppendLogLine("Done", false);
    }
    return true;
}

// Opens (copy phase: makes) the folders of the copy for the first count names of
// sourcePath below the target; the last is level's copy folder (the target itself for
// count 0). The folders on the way stay open in chain.
bool BackupEngine::OpenCopyChain(const std::string& sourcePath, std::size_t count, Level& level,
                                 std::deque<Ancestor>& chain) {
    if (count == 0) {
        level.dst = m_target.get();
        return true;
    }
    const std::vector<std::string> parts = clsPath::PlaceParts(sourcePath, kStyle);
    std::string source = clsPath::RootOf(sourcePath, kStyle);
    CopyFolder* parent = m_target.get();
    for (std::size_t i = 0; i < count; ++i) {
        source = clsPath::Join(source, parts[i], kStyle);
        CopyFolder* into = level.dst;
        if (i + 1 < count) {
            chain.emplace_back();
            chain.back().source = source;
            into = &chain.back().dst;
        }
        into->path = CopyPath(parent->path, parts[i]);
        if (!StepInto(*parent, parts[i], *into)) {
            return false;
        }
        parent = into;
    }
    return true;
}

// Opens the copy's folder name inside parent into sub (whose path the caller has set): the
// verify phase only opens it (keeping the reason when it cannot); the copy phase makes it
// when missing, replaces an old copy of another kind, and makes sure it can write there.
// False only when the copy phase cannot use it (logged).
bool BackupEngine::StepInto(CopyFolder& parent, const std::string& name, CopyFolder& sub) {
    if (!parent.folder.IsOpen()) {
        sub.error = parent.error;
        return m_phase != Phase::Copy;
    }
    if (m_phase == Phase::Verify) {
        if (!m_fa->OpenFolderAt(sub.folder, parent.folder, name)) {
            sub.error = sub.folder.Error();
        }
        return true;
    }
    bool made = false;
    if (!MakeCopyFolder(parent, name, sub, made)) {
        return false;
    }
    if (!m_fa->OpenFolderAt(sub.folder, parent.folder, name)) {
        LogError("Unable to open", sub.path, sub.folder.Error());
        return false;
    }
    if (!made) {
        m_fa->AllowChanges(sub.folder); // what it cannot grant, the next change reports
    }
    sub.fresh = made;
    return true;
}

// Makes the folder name in parent unless a folder is there (then sub.id is what it is);
// an old copy of another kind (a file or a link) is removed first, nothing else.
bool BackupEngine::MakeCopyFolder(CopyFolder& parent, const std::string& name, CopyFolder& sub,
                                  bool& made) {
    made = false;
    const std::string& path = sub.path;
    if (!parent.fresh) {
        FileInfo now;
        if (!m_fa->GetInfoAt(parent.folder, name, now)) {
            LogError("Unable to open", path, parent.folder.Error());
            return false;
        }
        if (now.Kind == FileKind::Directory) {
            sub.id = now.Id;
            return true;
        }
        if (now.Exists && !m_fa->RemoveAt(parent.folder, name)) {
            LogError("Unable to remove the old copy", path, parent.folder.Error());
            return false;
        }
        if (now.Exists) {
            AddLogLine("Old copy removed - " + path + " (the source is now a folder)", false);
        }
    }
    AddLogLine("Creating " + path + PathSeparator(kStyle) + "...", false);
    if (!m_fa->CreateFolderAt(parent.folder, name)) {
        AddLogLine("Unable to create target directory - " + path + " " +
                       parent.folder.Error().Line(kCreateSource),
                   true);
        return false;
    }
    AppendLogLine("Done", false);
    made = true;
    return true;
}

// The copy of a folder gets the source folder's owner, permission bits and times once
// its contents are written (writing into it would change its time again).
bool BackupEngine::FinishCopyFolder(CopyFolder& dst, const FileInfo& like) {
    if (!dst.folder.IsOpen()) {
        return false;
    }
    if (!m_fa->SetFolderMeta(dst.folder, like)) {
        LogError("Unable to set attributes", dst.path, dst.folder.Error());
        return false;
    }
    return true;
}

// The folders above an entry's copy, deepest first, get the metadata of the source
// folders they stand for (also those made before: they may have been opened up for
// writing on the way).
bool BackupEngine::FinishAncestors(std::deque<Ancestor>& chain) {
    bool ok = true;
    for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
        FileInfo like;
        SysError error;
        if (m_fa->GetPathInfo(it->source, like, error) && like.Kind == FileKind::Directory) {
            ok = FinishCopyFolder(it->dst, like) && ok;
        }
    }
    return ok;
}

} // namespace tessaron
