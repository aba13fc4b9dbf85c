#include "commands/product_info.h"

#include <unistd.h>

#include <cstring>
#include <utility>

#include "core/file.h"
#include "core/shell.h"

namespace {

constexpr size_t kPieceSize = 10239;  // bytes of a line that are looked at in one piece

// Reads up to a newline (kept) or size bytes, whatever they are; a dump may hold zero bytes.
size_t readPiece(FILE* file, char* piece, size_t size) {
    size_t length = 0;
    while (length < size) {
        const int byte = getc(file);
        if (byte == EOF)
            break;
        piece[length++] = static_cast<char>(byte);
        if (byte == '\n')
            break;
    }
    return length;
}

void writeRecord(FILE* file, const Record& record) {
    fputs(record.key, file);
    fputs(record.value, file);
    fputc('\n', file);
}

// Copies `from` to `to` with the record set. A failed write shows in the stream's error flag.
void copyWithRecord(FILE* from, FILE* to, const Record& record) {
    const size_t keyLength = strlen(record.key);
    char piece[kPieceSize];
    bool found = false;
    bool atLineStart = true;
    bool inOldValue = false;  // behind the first piece of a record's line that was replaced
    for (;;) {
        const size_t length = readPiece(from, piece, sizeof piece);
        if (length == 0)
            break;
        const bool endsLine = piece[length - 1] == '\n';
        const bool isRecord = length >= keyLength && memcmp(piece, record.key, keyLength) == 0;
        if (inOldValue) {
            inOldValue = !endsLine;
        } else if (isRecord) {
            writeRecord(to, record);
            found = true;
            inOldValue = atLineStart && !endsLine;
        } else {
            fwrite(piece, 1, length, to);
        }
        atLineStart = endsLine;
    }
    if (found)
        return;
    if (!atLineStart)
        fputc('\n', to);
    writeRecord(to, record);
}

}  // namespace

bool mfgp_isRecordValue(const char* text) {
    for (; *text != '\0'; text++) {
        const auto byte = static_cast<unsigned char>(*text);
        if (byte < ' ' || byte == 0x7F)
            return false;
    }
    return true;
}

int mfgp_editRecord(const char* path, const char* key, const char* value) {
    if (path == nullptr || key == nullptr || value == nullptr || !mfgp_isRecordValue(value))
        return -1;
    const File dump = mfgp_openToRead(path);
    char name[20] = "/tmp/mfgp-XXXXXX";
    File edited = dump ? mfgp_openTemporary(name) : nullptr;
    if (!edited)
        return -1;
    copyWithRecord(dump.get(), edited.get(), {key, value});
    const bool written = mfgp_closeWritten(std::move(edited)) == 0;
    if (written && ferror(dump.get()) == 0 && rename(name, path) == 0)
        return 0;
    unlink(name);
    return -1;
}

EditResult mfgp_editProductInfo(const char* field, std::span<const Record> records) {
    char file[64];
    char dump[kCommandLineSize];
    if (mfgp_formatLine(file, sizeof file, "/tmp/%s-tmp", field) != 0 ||
        mfgp_formatLine(dump, sizeof dump, "flashkv -r %s -p product-info", file) != 0)
        return {EditStep::Dump, 0};
    unlink(file);
    // A tool that fails counts as run, but what it left may be cut short: a part of the partition
    // would be flashed over the whole. The editor then finds nothing and fails.
    bool whole = false;
    if (mfgp_execLine(dump, &whole) != 0)
        return {EditStep::Dump, 0};
    if (!whole)
        unlink(file);
    for (size_t i = 0; i < records.size(); i++)
        if (mfgp_editRecord(file, records[i].key, records[i].value) != 0)
            return {EditStep::Edit, i};
    if (mfgp_execCmd("flashkv -w %s -p product-info", file) != 0)
        return {EditStep::WriteBack, 0};
    if (mfgp_execCmd("rm %s", file) != 0)
        return {EditStep::CleanUp, 0};
    return {EditStep::Done, 0};
}
