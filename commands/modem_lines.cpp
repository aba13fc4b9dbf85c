#include "commands/modem_lines.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "commands/field_text.h"
#include "core/shell.h"

namespace {

constexpr AnswerCut kFtmMode = {2, "[ ]"};
constexpr AnswerCut kLevel = {2, "[:_]"};

constexpr ModemLine kEg18SetFtm[] = {{{}, "atcon -c AT+QRFTESTMODE={0}"}};
constexpr ModemLine kEg18GetFtm[] = {{{}, "atcon -c AT+QRFTESTMODE?", kFtmMode}};
// The 1 and the 4 belong to the form of this module.
constexpr ModemLine kEg18Level[] = {{{}, "atcon -c AT+QRXFTM=1,{0},{1},{2},4,{3:g}", kLevel}};

constexpr ModemLine kRg520SetFtm[] = {{{}, "atcon -c AT+QFTMMODE={0}"}};
constexpr ModemLine kRg520GetFtm[] = {{{}, "atcon -c AT+QFTMMODE?", kFtmMode}};
constexpr ModemLine kRg520Level[] = {
    {{{0, 1}}, R"(atcon -c 'at+qrftestex="LTE","rx",{1},{2},-{3},{4},{5}')", kLevel},
    {{{0, 2}}, R"(atcon -c 'at+qrftestex="NR5G","rx",{1},{2},-{3},{4},{5}')", kLevel},
};
constexpr FieldIs kRg520ReceiverOff[] = {{4, 0}};

constexpr ModemLine kEg060SetFtm[] = {{{}, R"(atcon -c 'AT+QRFTEST="mode",{0}')"}};
constexpr ModemLine kEg060GetFtm[] = {{{}, R"(atcon -c 'AT+QRFTEST="mode"')", kFtmMode}};
constexpr ModemLine kEg060Level[] = {
    {{}, R"(atcon -c 'AT+QRFTEST="rx",{0},{1},{2},{3},-{4}')", kLevel}};

// The test mode of this module is a one-way street: to leave it nothing is run, and that succeeds.
constexpr ModemLine kFg621SetFtm[] = {{{{0, 1}}, "cellcli -c at+sfun=5"}, {{}, ""}};
// Field 4 asks for the level, field 3 tells LTE (2) from WCDMA, field 2 which of the two levels
// that the answer holds. A field 4 of neither 0 nor 1 gives a line that answers nothing.
constexpr ModemLine kFg621Level[] = {
    {{{4, 1}, {3, 2}, {2, 0}}, "cellcli -c 'AT+LTERXLEVELDBM?'", {1, "[ _]"}},
    {{{4, 1}, {3, 2}}, "cellcli -c 'AT+LTERXLEVELDBM?'", {1, "[,_]"}},
    {{{4, 1}, {2, 0}}, "cellcli -c 'AT+WCDMARXLEVELDBM?'", {1, "[ _]"}},
    {{{4, 1}}, "cellcli -c 'AT+WCDMARXLEVELDBM?'", {1, "[,_]"}},
    {{}, ""},
};
constexpr FieldIs kFg621NoLevel[] = {{4, 0}};

constexpr Module kModules[] = {
    {
        .name = "EG18-EA",
        .setFtm = kEg18SetFtm,
        .getFtm = kEg18GetFtm,
        .testFields = 4,
        .wrongFieldCount = "fail to get RX Antenna test parameter for EG18-EA \n",
        .fieldLog = nullptr,
        .configuration = nullptr,
        .level = kEg18Level,
        .configureOnly = {},
        .dropLevel = {},
    },
    {
        .name = "RG520N-EU",
        .setFtm = kRg520SetFtm,
        .getFtm = kRg520GetFtm,
        .testFields = 6,
        .wrongFieldCount = "fail to get RX Antenna test parameter for RG520N-EU \n",
        .fieldLog = "TECH={0},band={1},chain_index={2},expected_rxagc_dbm={3},rx_enable={4},"
                    "channel={5}",
        .configuration = nullptr,
        .level = kRg520Level,
        .configureOnly = {},
        .dropLevel = kRg520ReceiverOff,
    },
    {
        .name = "EG060K-EA",
        .setFtm = kEg060SetFtm,
        .getFtm = kEg060GetFtm,
        .testFields = 5,
        // A small k, as log filters know it.
        .wrongFieldCount = "fail to get RX Antenna test parameter for EG060k-EA \n",
        .fieldLog = nullptr,
        .configuration = nullptr,
        .level = kEg060Level,
        .configureOnly = {},
        .dropLevel = {},
    },
    {
        .name = "FG621",
        .setFtm = kFg621SetFtm,
        .getFtm = {},
        .testFields = 5,
        .wrongFieldCount = "fail to get RX Antenna test parameter for FG621 \n",
        .fieldLog = nullptr,
        .configuration = "cellcli -c 'AT+SPMAXRF={0},2,23,{1},{3},0'",
        .level = kFg621Level,
        .configureOnly = kFg621NoLevel,
        .dropLevel = {},
    },
};

constexpr bool isPlaceholder(const char* at) {
    return at[0] == '{' && at[1] >= '0' && at[1] <= '9';
}

constexpr bool fieldsWithin(const char* pattern, int count) {
    for (const char* at = pattern; at != nullptr && *at != '\0'; at++)
        if (isPlaceholder(at) && at[1] - '0' >= count)
            return false;
    return true;
}

constexpr bool fieldsWithin(std::span<const ModemLine> lines, int count) {
    for (const ModemLine& line : lines)
        if (!fieldsWithin(line.command, count) || line.when[0].field >= count ||
            line.when[1].field >= count || line.when[2].field >= count)
            return false;
    return true;
}

constexpr bool fieldsWithin(std::span<const FieldIs> conditions, int count) {
    for (const FieldIs& condition : conditions)
        if (condition.field >= count)
            return false;
    return true;
}

constexpr bool fieldsWithin(const Module& module) {
    return fieldsWithin(module.configureOnly, module.testFields) &&
           fieldsWithin(module.dropLevel, module.testFields) &&
           module.testFields <= kMaxTestFields && fieldsWithin(module.setFtm, 1) &&
           fieldsWithin(module.getFtm, 0) && fieldsWithin(module.fieldLog, module.testFields) &&
           fieldsWithin(module.configuration, module.testFields) &&
           fieldsWithin(module.level, module.testFields);
}
static_assert(std::ranges::all_of(kModules, [](const Module& row) { return fieldsWithin(row); }),
              "a line may only name fields that its command has");

bool holds(const FieldIs& condition, const char* const* fields) {
    return condition.field < 0 || mfgp_textToInt(fields[condition.field]) == condition.value;
}

}  // namespace

const Module* mfgp_findModule(const char* name) {
    for (const Module& module : kModules)
        if (strcmp(module.name, name) == 0)
            return &module;
    return nullptr;
}

bool mfgp_anyHolds(std::span<const FieldIs> conditions, const char* const* fields) {
    for (const FieldIs& condition : conditions)
        if (holds(condition, fields))
            return true;
    return false;
}

int mfgp_fillModemLine(const char* pattern, const char* const* fields, char* line) {
    char* out = line;
    *out = '\0';
    while (*pattern != '\0') {
        const size_t room = kModemLineSize - static_cast<size_t>(out - line);
        const bool isValue = isPlaceholder(pattern);
        const char* const field = isValue ? fields[pattern[1] - '0'] : nullptr;
        const size_t length = isValue ? strcspn(pattern, "}") + 1 : 1 + strcspn(pattern + 1, "{");
        int result = 0;
        if (!isValue)
            result = mfgp_formatLine(out, room, "%.*s", static_cast<int>(length), pattern);
        else if (pattern[2] == ':')
            result = mfgp_formatLine(out, room, "%g",
                                     static_cast<double>(static_cast<float>(atof(field))));
        else
            result = mfgp_formatLine(out, room, "%d", mfgp_textToInt(field));
        if (result != 0)
            return -1;
        out += strlen(out);
        pattern += length;
    }
    return 0;
}

int mfgp_buildModemLine(std::span<const ModemLine> lines, const char* const* fields, char* line) {
    for (const ModemLine& row : lines) {
        if (!holds(row.when[0], fields) || !holds(row.when[1], fields) ||
            !holds(row.when[2], fields))
            continue;
        if (row.cut.separators == nullptr)
            return mfgp_fillModemLine(row.command, fields, line);
        char command[kModemLineSize];
        if (mfgp_fillModemLine(row.command, fields, command) != 0)
            return -1;
        return mfgp_formatLine(line, kModemLineSize,
                               "%s | awk 'NR==%d{split($0,a,\"%s\");print a[2]}'", command,
                               row.cut.line, row.cut.separators);
    }
    return -1;
}
