#include "io/file_out.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cerrno>
#include <cstring>
#include <streambuf>
#include <stdexcept>
#include <string>

namespace standin::io {

namespace {

// 0, or the errno of the first write that failed.
int WriteAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t n = ::write(fd, bytes.data(), bytes.size());
        if (n < 0) {
            if (errno == EINTR) continue;
            return errno;
        }
        if (n == 0) return EIO;
        bytes.remove_prefix(static_cast<size_t>(n));
    }
    return 0;
}

// A stream buffer over a file descriptor: small writes are gathered, large ones go straight
// through. After the first failure nothing more is written and `Error()` holds its errno.
class FdBuffer : public std::streambuf {
public:
    explicit FdBuffer(int fd) : m_fd(fd) { setp(m_buffer, m_buffer + sizeof m_buffer); }
    int Error() const { return m_error; }
    bool Flush() {
        if (m_error == 0 && pptr() > pbase()) m_error = WriteAll(m_fd, {pbase(), static_cast<size_t>(pptr() - pbase())});
        setp(m_buffer, m_buffer + sizeof m_buffer);
        return m_error == 0;
    }

protected:
    int sync() override { return Flush() ? 0 : -1; }
    int_type overflow(int_type c) override {
        if (!Flush()) return traits_type::eof();
        if (!traits_type::eq_int_type(c, traits_type::eof())) {
            *pptr() = traits_type::to_char_type(c);
            pbump(1);
        }
        return traits_type::not_eof(c);
    }
    std::streamsize xsputn(const char* s, std::streamsize n) override {
        if (n < epptr() - pptr()) {
            std::memcpy(pptr(), s, static_cast<size_t>(n));
            pbump(static_cast<int>(n));
            return n;
        }
        if (!Flush()) return 0;
        m_error = WriteAll(m_fd, {s, static_cast<size_t>(n)});
        return m_error == 0 ? n : 0;
    }

private:
    int m_fd;
    int m_error = 0;
    char m_buffer[1 << 16];
};

// Runs `write` over `fd`, then closes it: 0, or the first errno. A close can report a delayed
// write error (a full disk on a network file system), so it counts as much as a write. An
// exception from `write` closes the file and is passed on, unless a write had failed first:
// that failure is then what is reported.
int WriteAndClose(int fd, const std::function<void(std::ostream&)>& write) {
    FdBuffer buffer(fd);
    std::ostream stream(&buffer);
    try {
        write(stream);
    } catch (...) {
        ::close(fd);
        if (buffer.Error() != 0) return buffer.Error();
        throw;
    }
    int error = buffer.Flush() ? 0 : buffer.Error();
    if (::close(fd) != 0 && error == 0) error = errno;
    return error;
}

// Puts `temporary` in the place of `target`, at once: 0, or the errno. An existing target is
// swapped with the temporary, which then names the old file and is removed. A plain rename
// over the target would do both in one call, but ext4 takes a rename over a file as the sign
// of a replacement made without a flush and starts writing the new file out to disk there and
// then, which for a large file costs as much as writing it. Swapped, the file goes out with the
// system's ordinary write-back, as a file written in place does. Where the swap fails (a file
// system without it, the target gone meanwhile), the plain rename, which gives the error if
// there is one.
int Replace(const std::filesystem::path& temporary, const std::filesystem::path& target, bool exists) {
    if (exists && ::renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, target.c_str(), RENAME_EXCHANGE) == 0) {
        // The old file now; if its removal fails, what is left is a stray copy of it. A folder
        // made in the target's place since it was looked at is swapped back and kept.
        if (::unlink(temporary.c_str()) != 0 && errno == EISDIR) {
            ::renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, target.c_str(), RENAME_EXCHANGE);
            return EISDIR;
        }
        return 0;
    }
    return ::rename(temporary.c_str(), target.c_str()) == 0 ? 0 : errno;
}

}  // namespace

void WriteFileWhole(const std::filesystem::path& path, std::string_view bytes) {
    WriteFileWith(path, [bytes](std::ostream& out) { out.write(bytes.data(), static_cast<std::streamsize>(bytes.size())); });
}

void WriteFileWith(const std::filesystem::path& path, const std::function<void(std::ostream&)>& write) {
    auto fail = [&](const std::string& why) { return std::runtime_error("cannot write " + path.string() + ": " + why); };
    if (path.empty() || !path.has_filename()) throw fail("no file name");
    std::error_code ec;
    if (path.has_parent_path()) {
        std::filesystem::create_directories(path.parent_path(), ec);
        if (ec) throw fail(ec.message());
    }

    struct stat existing {};
    const bool exists = ::stat(path.c_str(), &existing) == 0;
    if (exists && S_ISDIR(existing.st_mode)) throw fail("it is a folder");
    if (exists && !S_ISREG(existing.st_mode)) {
        // Replacing a device node or a pipe with a file would destroy it: written in place.
        const int fd = ::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
        if (fd < 0) throw fail(std::strerror(errno));
        if (int error = WriteAndClose(fd, write)) throw fail(std::strerror(error));
        return;
    }

    std::filesystem::path target = path;
    if (exists && std::filesystem::is_symlink(path, ec)) {
        target = std::filesystem::canonical(path, ec);
        if (ec) throw fail(ec.message());
    }
    // Beside the target, so the rename stays within one file system.
    static std::atomic<unsigned> counter{0};
    const std::filesystem::path folder = target.has_parent_path() ? target.parent_path() : std::filesystem::path(".");
    std::filesystem::path temporary;
    int fd = -1;
    for (int attempt = 0; fd < 0; ++attempt) {
        // Built in place: GCC 12 warns, wrongly, about "." + std::string(...) at -O2.
        std::string name(1, '.');
        name.append(target.filename().string()).append(".tmp").append(std::to_string(::getpid()));
        name.append("-").append(std::to_string(counter++));
        temporary = folder / name;
        fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0 && (errno != EEXIST || attempt >= 100)) throw fail(std::strerror(errno));
    }
    // A file replaced keeps its permissions.
    int error = exists && ::fchmod(fd, existing.st_mode & 07777) != 0 ? errno : 0;
    int written = 0;
    try {
        written = WriteAndClose(fd, write);
    } catch (...) {
        ::unlink(temporary.c_str());
        throw;
    }
    if (error == 0) error = written;
    if (error == 0) error = Replace(temporary, target, exists);
    if (error != 0) {
        ::unlink(temporary.c_str());
        throw fail(std::strerror(error));
    }
}

}  // namespace standin::io
