#include "core/file.h"

#include <fcntl.h>
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
    return openStream(open(path, O_RDONLY | O_CLOEXEC), "r");
}

File mfgp_openToWrite(const char* path) {
    constexpr mode_t kMode = 0644;
    // O_RDWR, because opening a FIFO with O_WRONLY would wait for a reader.
    constexpr int kFlags = O_RDWR | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC;
    return openStream(open(path, kFlags, kMode), "w");
}

File mfgp_openTemporary(char* name) {
    return openStream(mkstemp(name), "w");
}

int mfgp_closeWritten(File file) {
    const bool failedBefore = ferror(file.get()) != 0;
    const bool failedNow = fclose(file.release()) != 0;
    return failedBefore || failedNow ? -1 : 0;
}

int mfgp_writeFile(const char* path, const void* data, size_t length) {
    File file = mfgp_openToWrite(path);
    if (!file)
        return -1;
    fwrite(data, 1, length, file.get());
    return mfgp_closeWritten(std::move(file));
}
