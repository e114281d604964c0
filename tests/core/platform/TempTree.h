#pragma once
// A temporary directory for one test, removed with everything in it (write bits restored
// first) when the test ends.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace tessaron::test {

class TempTree {
public:
    explicit TempTree(const std::string& base = "/tmp") {
        std::string pattern = base + "/tessaron-test-XXXXXX";
        char* made = ::mkdtemp(pattern.data());
        m_root = made != nullptr ? made : "";
    }
    ~TempTree() {
        namespace fs = std::filesystem;
        std::error_code ec;
        if (m_root.empty()) {
            return;
        }
        fs::permissions(m_root, fs::perms::owner_all, fs::perm_options::add, ec);
        for (auto it = fs::recursive_directory_iterator(m_root, ec);
             it != fs::recursive_directory_iterator(); it.increment(ec)) {
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

    // Writes a file (making its folders) and returns its full path.
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
