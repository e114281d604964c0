// The parts of clsBinaryFile that do not depend on the operating system: text and whole
// file reads, the buffered block copy, and the single-time file date members.
#include "platform/clsBinaryFile.h"

#include <utility>

#include <algorithm>

namespace tessaron {

namespace {

constexpr std::size_t kContentsChunk = 1 << 16;
constexpr std::size_t kFallbackBuffer = 1 << 20;

} // namespace

clsBinaryFile::~clsBinaryFile() {
    CloseFile();
}

void clsBinaryFile::TakeOver(clsBinaryFile& other) {
    CloseFile();
    m_fd = std::exchange(other.m_fd, -1);
    m_written = std::exchange(other.m_written, false);
    m_unbuffered = std::exchange(other.m_unbuffered, false);
    m_position = std::exchange(other.m_position, 0);
    m_createdPath = std::move(other.m_createdPath);
    other.m_createdPath.clear();
    m_kernelCopy = other.m_kernelCopy;
    other.m_knownMode = other.m_knownUid = other.m_knownGid = -1;
}

bool clsBinaryFile::Fail(int code) {
    LastErrorCode = code;
    return false;
}

bool clsBinaryFile::WriteBlock(const void* buf, std::size_t count) {
    return WriteAll(buf, count, -1);
}

bool clsBinaryFile::WriteBlockAt(const void* buf, std::size_t count, long long offset) {
    return WriteAll(buf, count, offset);
}

std::string clsBinaryFile::ReadFileText(long long count) {
    std::vector<unsigned char> buf;
    if (!ReadFile(buf, count)) {
        return {};
    }
    return std::string(buf.begin(), buf.end());
}

std::string clsBinaryFile::GetFileContents() {
    std::string text;
    char chunk[kContentsChunk];
    for (;;) {
        long long n = ReadBlock(chunk, sizeof chunk);
        if (n < 0) {
            return {};
        }
        text.append(chunk, static_cast<std::size_t>(n));
        if (n < static_cast<long long>(sizeof chunk)) {
            return text;
        }
    }
}

bool clsBinaryFile::WriteFile(const std::vector<unsigned char>& buf) {
    return WriteBlock(buf.data(), buf.size());
}

bool clsBinaryFile::WriteFileText(std::string_view text) {
    return WriteBlock(text.data(), text.size());
}

bool clsBinaryFile::Eof() {
    long long pos = FilePointer();
    long long size = FileSize();
    return pos < 0 || size < 0 || pos >= size;
}

long long clsBinaryFile::BufferCopy(clsBinaryFile& dest, long long count, void* buffer,
                                    std::size_t bufferSize) {
    if (buffer == nullptr || bufferSize == 0) {
        if (m_copyBuffer.empty()) {
            m_copyBuffer.resize(kFallbackBuffer);
        }
        buffer = m_copyBuffer.data();
        bufferSize = m_copyBuffer.size();
    }
    long long moved = 0;
    while (moved < count) {
        std::size_t chunk = std::min(bufferSize, static_cast<std::size_t>(count - moved));
        long long n = ReadBlock(buffer, chunk);
        if (n < 0 || (n > 0 && !dest.WriteBlock(buffer, static_cast<std::size_t>(n)))) {
            return -1;
        }
        moved += n;
        if (static_cast<std::size_t>(n) < chunk) {
            break;
        }
    }
    return moved;
}

DateTime clsBinaryFile::CreateTime() {
    DateTime c, a, w;
    GetFileDates(c, a, w);
    return c;
}

DateTime clsBinaryFile::LastAccessTime() {
    DateTime c, a, w;
    GetFileDates(c, a, w);
    return a;
}

DateTime clsBinaryFile::LastWriteTime() {
    DateTime c, a, w;
    GetFileDates(c, a, w);
    return w;
}

bool clsBinaryFile::SetLastAccessTime(const DateTime& value) {
    return SetFileDates(DateTime{}, value, DateTime{});
}

bool clsBinaryFile::SetLastWriteTime(const DateTime& value) {
    return SetFileDates(DateTime{}, DateTime{}, value);
}

} // namespace tessaron
