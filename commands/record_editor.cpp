#include "commands/record_editor.h"

#include <unistd.h>

#include <cstring>
#include <utility>

#include "core/file.h"
#include "core/shell.h"

namespace {

constexpr size_t kPieceSize = 10239;  // bytes of a line that are read at a time

// Reads a line with its newline, or the next piece of a long line, without zero bytes. Returns the
// number of bytes, 0 at the end of the file.
size_t readPiece(FILE* file, std::span<char> piece) {
    size_t length = 0;
    while (length < piece.size()) {
        const int byte = getc(file);
        if (byte == EOF)
            break;
        if (byte == 0)
            continue;
        piece[length++] = static_cast<char>(byte);
        if (byte == '\n')
            break;
    }
    return length;
}

// Copies `from` to `to` with the record set. A failed write sets the stream's error flag.
void copyWithRecord(FILE* from, FILE* to, const char* key, const char* value) {
    const size_t keyLength = strlen(key);
    char piece[kPieceSize];
    bool found = false;
    bool endsWithNewline = true;
    while (const size_t length = readPiece(from, piece)) {
        if (length >= keyLength && memcmp(piece, key, keyLength) == 0) {
            fprintf(to, "%s%s\n", key, value);
            found = true;
        } else {
            fwrite(piece, 1, length, to);
        }
        endsWithNewline = piece[length - 1] == '\n';
    }
    if (!found)
        fprintf(to, "%s%s%s\n", endsWithNewline ? "" : "\n", key, value);
}

}  // namespace

int mfgp_editRecord(const char* path, const char* key, const char* value) {
    // A newline in the value would create a second record.
    if (path == nullptr || key == nullptr || value == nullptr || strchr(value, '\n') != nullptr)
        return -1;
    const File dump = mfgp_openToRead(path);
    char name[20] = "/tmp/mfgp-XXXXXX";
    File edited = dump ? mfgp_openTemporary(name) : nullptr;
    if (!edited)
        return -1;
    copyWithRecord(dump.get(), edited.get(), key, value);
    const bool written = mfgp_closeWritten(std::move(edited)) == 0;
    if (written && ferror(dump.get()) == 0 && rename(name, path) == 0)
        return 0;
    unlink(name);
    return -1;
}

EditResult mfgp_editProductInfo(const char* fileStem, std::span<const Record> records) {
    char file[64];
    if (mfgp_formatLine(file, "/tmp/%s-tmp", fileStem) != 0)
        return {EditStep::Dump, nullptr};
    unlink(file);
    if (mfgp_execCmd("flashkv -r %s -p product-info", file) != 0)
        return {EditStep::Dump, nullptr};
    for (const Record& record : records)
        if (mfgp_editRecord(file, record.key, record.value) != 0)
            return {EditStep::Edit, &record};
    if (mfgp_execCmd("flashkv -w %s -p product-info", file) != 0)
        return {EditStep::WriteBack, nullptr};
    if (mfgp_execCmd("rm %s", file) != 0)
        return {EditStep::CleanUp, nullptr};
    return {EditStep::Done, nullptr};
}
