#include "core/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <utility>

namespace {

File openStream(int fd, const char* mode) {
    if (fd < 0)
        return nullptr;
    fcntl(fd, F_SETFD, FD_CLOEXEC);
    FILE* const stream = fdopen(fd, mode);
    if (stream == nullptr)
        close(fd);
    return File(stream);
}

}  // namespace

File mfgp_openToRead(const char* path) {
    // O_NONBLOCK, because opening a FIFO would wait for a writer.
    File file = openStream(open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC), "r");
    struct stat status = {};
    if (file && (fstat(fileno(file.get()), &status) != 0 || S_ISFIFO(status.st_mode)))
        return nullptr;
    return file;
}

File mfgp_createFile(const char* path) {
    constexpr mode_t kMode = 0600;
    unlink(path);
    return openStream(open(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kMode), "w");
}

File mfgp_openTemporary(char* name) { return openStream(mkstemp(name), "w"); }

int mfgp_closeWritten(File file) {
    const bool failedBefore = ferror(file.get()) != 0;
    const bool failedNow = fclose(file.release()) != 0;
    return failedBefore || failedNow ? -1 : 0;
}

int mfgp_writeFile(const char* path, const void* data, size_t length) {
    File file = mfgp_createFile(path);
    if (!file)
        return -1;
    fwrite(data, 1, length, file.get());
    return mfgp_closeWritten(std::move(file));
}
