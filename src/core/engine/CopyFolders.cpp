// The folders of the copy: the target, the folders above a selection entry's copy, and
// one folder of the copy for every source folder the walk enters.
#include "engine/CopyFolders.h"
#include "platform/clsPath.h"

namespace tessaron {

namespace {

constexpr PathStyle kStyle = NativePathStyle();
const char* const kCreateSource = "clsFileSystem.CreateDirectory()";
// Folders made on the way to the target or a copy take the system's default permissions.
constexpr unsigned kNewFolderMode = 0777;

} // namespace

std::string CopyFolders::CopyPath(const std::string& folderPath, const std::string& name) {
    return clsPath::Join(folderPath, name, kStyle);
}

bool CopyFolders::UseTarget(const std::string& target, bool make) {
    auto& t = m_run.target;
    if (t && m_run.targetArg == target && (t->folder.IsOpen() || t->error)) {
        return t->folder.IsOpen() || !make; // a failure is said once
    }
    t = std::make_unique<CopyFolder>();
    m_run.targetArg = target;
    t->path = clsPath::WithoutTrailingSeparators(target, kStyle);
    const bool existed = !make || m_run.fa->Exists(target);
    if (!existed) {
        m_run.log.AddLogLine("Creating " + t->path + PathSeparator(kStyle) + "...", false);
    }
    if (make ? !m_run.fa->CreateFolder(t->folder, target, kNewFolderMode)
             : !m_run.fa->OpenFolder(t->folder, target)) {
        t->error = t->folder.Error();
        if (make) {
            m_run.log.AddLogLine("Unable to create target directory - " + target + " " +
                                 t->error.Line(kCreateSource));
        }
        return !make;
    }
    if (!existed) {
        m_run.log.AppendLogLine("Done", false);
    }
    FileInfo own;
    if (m_run.fa->GetFolderInfo(t->folder, own)) {
        m_run.outputId = own.Id;
        m_run.outputPath = target;
    }
    return true;
}

bool CopyFolders::FolderOfCopy(const std::string& copy, bool make, CopyFolder& folder,
                               std::string& name) {
    const clsPath parts(copy, kStyle);
    name = parts.File();
    folder.path = clsPath::WithoutTrailingSeparators(parts.Drive + parts.Directory, kStyle);
    const std::string path = folder.path.empty() ? "." : folder.path;
    if (!make) {
        if (!m_run.fa->OpenFolder(folder.folder, path)) {
            folder.error = folder.folder.Error();
        }
        return true;
    }
    folder.fresh = !m_run.fa->Exists(path);
    if (folder.fresh) {
        m_run.log.AddLogLine("Creating " + folder.path + PathSeparator(kStyle) + "...", false);
    }
    if (!m_run.fa->CreateFolder(folder.folder, path, kNewFolderMode)) {
        m_run.log.AddLogLine("Unable to create target directory - " + folder.path + " " +
                                 folder.folder.Error().Line(kCreateSource),
                             true);
        return false;
    }
    if (folder.fresh) {
        m_run.log.AppendLogLine("Done", false);
    }
    return true;
}

bool CopyFolders::OpenChain(const std::string& sourcePath, std::size_t count, CopyFolder*& dst,
                            std::deque<Ancestor>& chain, bool make) {
    if (count == 0) {
        dst = m_run.target.get();
        return true;
    }
    const std::vector<std::string> parts = clsPath::PlaceParts(sourcePath, kStyle);
    std::string source = clsPath::RootOf(sourcePath, kStyle);
    CopyFolder* parent = m_run.target.get();
    for (std::size_t i = 0; i < count; ++i) {
        source = clsPath::Join(source, parts[i], kStyle);
        CopyFolder* into = dst;
        if (i + 1 < count) {
            chain.emplace_back();
            chain.back().source = source;
            into = &chain.back().dst;
        }
        into->path = CopyPath(parent->path, parts[i]);
        if (!StepInto(*parent, parts[i], *into, make)) {
            return false;
        }
        parent = into;
    }
    return true;
}

bool CopyFolders::StepInto(CopyFolder& parent, const std::string& name, CopyFolder& sub,
                           bool make) {
    if (!parent.folder.IsOpen()) {
        sub.error = parent.error;
        return !make;
    }
    if (!make) {
        if (!m_run.fa->OpenFolderAt(sub.folder, parent.folder, name)) {
            sub.error = sub.folder.Error();
        }
        return true;
    }
    bool made = false;
    if (!MakeFolder(parent, name, sub, made)) {
        return false;
    }
    if (!m_run.fa->OpenFolderAt(sub.folder, parent.folder, name)) {
        m_run.log.LogError("Unable to open", sub.path, sub.folder.Error());
        return false;
    }
    if (!made) {
        m_run.fa->AllowChanges(sub.folder); // what it cannot grant, the next change reports
    }
    sub.fresh = made;
    return true;
}

// Makes the folder name in parent unless a folder is there (then sub.id is what it is);
// an old copy of another kind (a file or a link) is removed first, nothing else.
bool CopyFolders::MakeFolder(CopyFolder& parent, const std::string& name, CopyFolder& sub,
                             bool& made) {
    made = false;
    const std::string& path = sub.path;
    if (!parent.fresh) {
        FileInfo now;
        if (!m_run.fa->GetInfoAt(parent.folder, name, now)) {
            m_run.log.LogError("Unable to open", path, parent.folder.Error());
            return false;
        }
        if (now.Kind == FileKind::Directory) {
            sub.id = now.Id;
            return true;
        }
        if (now.Exists && !m_run.fa->RemoveAt(parent.folder, name)) {
            m_run.log.LogError("Unable to remove the old copy", path, parent.folder.Error());
            return false;
        }
        if (now.Exists) {
            m_run.log.AddLogLine("Old copy removed - " + path + " (the source is now a folder)",
                                 false);
        }
    }
    m_run.log.AddLogLine("Creating " + path + PathSeparator(kStyle) + "...", false);
    if (!m_run.fa->CreateFolderAt(parent.folder, name)) {
        m_run.log.AddLogLine("Unable to create target directory - " + path + " " +
                                 parent.folder.Error().Line(kCreateSource),
                             true);
        return false;
    }
    m_run.log.AppendLogLine("Done", false);
    made = true;
    return true;
}

bool CopyFolders::FinishFolder(CopyFolder& dst, const FileInfo& like) {
    if (!dst.folder.IsOpen()) {
        return false;
    }
    if (!m_run.fa->SetFolderMeta(dst.folder, like)) {
        m_run.log.LogError("Unable to set attributes", dst.path, dst.folder.Error());
        return false;
    }
    return true;
}

// Also those made before: they may have been opened up for writing on the way.
bool CopyFolders::FinishAncestors(std::deque<Ancestor>& chain) {
    bool ok = true;
    for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
        FileInfo like;
        SysError error;
        if (m_run.fa->GetPathInfo(it->source, like, error) && like.Kind == FileKind::Directory) {
            ok = FinishFolder(it->dst, like) && ok;
        }
    }
    return ok;
}

} // namespace tessaron
