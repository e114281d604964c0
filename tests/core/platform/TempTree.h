#pragma once
// A temporary folder for one test. It is removed when the test ends, with owner bits
// restored first so that read-only folders left by a test cannot block the removal.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace tessaron::test {

class TempTree {
public:
    explicit TempTree(const std::string& base = "/tmp") : m_root(base + "/tessaron-test-XXXXXX") {
        if (::mkdtemp(m_root.data()) == nullptr) {
            m_root.clear();
        }
    }
    ~TempTree() {
        namespace fs = std::filesystem;
        std::error_code ec;
        fs::permissions(m_root, fs::perms::owner_all, fs::perm_options::add, ec);
        for (fs::recursive_directory_iterator it(m_root, ec), end; it != end; it.increment(ec)) {
            if (!it->is_symlink(ec)) {
                fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ec);
            }
        }
        fs::remove_all(m_root, ec);
    }
    TempTree(const TempTree&) = delete;
    TempTree& operator=(const TempTree&) = delete;

    bool Ok() const { return !m_root.empty(); }
    const std::string& Root() const { return m_root; }
    std::string Path(const std::string& rel) const { return m_root + "/" + rel; }

    // Writes a file, making its folders, and returns its full path.
    std::string Write(const std::string& rel, const std::string& content = "") const {
        std::filesystem::create_directories(std::filesystem::path(Path(rel)).parent_path());
        std::ofstream(Path(rel), std::ios::binary) << content;
        return Path(rel);
    }
    std::string MakeDir(const std::string& rel) const {
        std::filesystem::create_directories(Path(rel));
        return Path(rel);
    }
    std::string Read(const std::string& rel) const {
        std::ifstream in(Path(rel), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

private:
    std::string m_root;
};

} // namespace tessaron::test
