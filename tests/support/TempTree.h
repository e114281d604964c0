#pragma once
// The tests' one temporary folder and file helpers. A TempTree is removed when it goes
// out of scope, with owner bits restored first so that read-only folders left by a test
// cannot block the removal.

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>

namespace tessaron::test {

namespace fs = std::filesystem;

// Writes data to p, making the missing folders.
inline void WriteFile(const fs::path& p, const std::string& data) {
    fs::create_directories(p.parent_path());
    std::ofstream(p, std::ios::binary) << data;
}

// The whole content of p ("" when it cannot be read).
inline std::string ReadFile(const fs::path& p) {
    std::ostringstream s;
    s << std::ifstream(p, std::ios::binary).rdbuf();
    return s.str();
}

// n pseudo-random bytes, the same for the same seed.
inline std::string Bytes(std::size_t n, unsigned seed = 1) {
    std::mt19937 gen(seed);
    std::string s(n, '\0');
    for (auto& c : s) {
        c = static_cast<char>(gen());
    }
    return s;
}

class TempTree {
public:
    explicit TempTree(const std::string& base = fs::temp_directory_path().string()) {
        // A new folder of a random name, made by this process (create_directory fails
        // for a name that exists).
        std::random_device seed;
        std::mt19937_64 gen(seed() ^ static_cast<unsigned long long>(
                                         std::chrono::steady_clock::now().time_since_epoch().count()));
        const std::string folder = base.ends_with('/') || base.ends_with('\\') ? base : base + "/";
        for (int attempt = 0; attempt < 100 && m_root.empty(); ++attempt) {
            std::string candidate = folder + "tessaron-test-" + std::to_string(gen() % 1000000000);
            std::error_code ec;
            if (fs::create_directory(candidate, ec)) {
                m_root = candidate;
            }
        }
    }
    ~TempTree() {
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
        WriteFile(Path(rel), content);
        return Path(rel);
    }
    std::string MakeDir(const std::string& rel) const {
        fs::create_directories(Path(rel));
        return Path(rel);
    }
    std::string Read(const std::string& rel) const { return ReadFile(Path(rel)); }

private:
    std::string m_root;
};

} // namespace tessaron::test
