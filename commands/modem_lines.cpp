#include "commands/modem_lines.h"

#include <cstdlib>
#include <cstring>

#include "commands/argument_text.h"
#include "core/report.h"
#include "core/shell.h"

namespace {

// Field 4 of RG520N-EU turns the receiver on, and field 4 of FG621 asks for the level.
bool isFieldFourZero(const TestFields& t) { return t.integer(4) == 0; }

int eg18SetFtmLine(int mode, ModemLine& line) {
    return mfgp_formatLine(line, "atcon -c AT+QRFTESTMODE=%d", mode);
}

// The constants 1 and 4 belong to this module's form.
int eg18LevelLine(const TestFields& t, ModemLine& line, const char* /*function*/) {
    return mfgp_formatLine(
        line,
        R"(atcon -c AT+QRXFTM=%d,%d,%d,%d,%d,%g | awk 'NR==2{split($0,a,"[:_]");print a[2]}')", 1,
        t.integer(0), t.integer(1), t.integer(2), 4, t.decimal(3));
}

int rg520SetFtmLine(int mode, ModemLine& line) {
    return mfgp_formatLine(line, "atcon -c AT+QFTMMODE=%d", mode);
}

int rg520LevelLine(const TestFields& t, ModemLine& line, const char* function) {
    const int technology = t.integer(0);
    const int band = t.integer(1);
    const int chain = t.integer(2);
    const int level = t.integer(3);
    const int enable = t.integer(4);
    const int channel = t.integer(5);
    MFGP_TRACE_AS(function,
                  "mfgp2_cmd_setantennaTest TECH=%d,band=%d,chain_index=%d,expected_rxagc_dbm=%d,"
                  "rx_enable=%d,channel=%d\n",
                  technology, band, chain, level, enable, channel);
    if (technology == 1)
        return mfgp_formatLine(
            line,
            R"(atcon -c 'at+qrftestex="LTE","rx",%d,%d,-%d,%d,%d' | awk 'NR==2{split($0,a,"[:_]");print a[2]}')",
            band, chain, level, enable, channel);
    if (technology == 2)
        return mfgp_formatLine(
            line,
            R"(atcon -c 'at+qrftestex="NR5G","rx",%d,%d,-%d,%d,%d' | awk 'NR==2{split($0,a,"[:_]");print a[2]}')",
            band, chain, level, enable, channel);
    // The protocol defines the message of an unknown module for this case too.
    MFGP_TRACE_AS(function,
                  "we get device name fail,we don't know the parameters for setting Antenna\n");
    return -1;
}

int eg060SetFtmLine(int mode, ModemLine& line) {
    return mfgp_formatLine(line, R"(atcon -c 'AT+QRFTEST="mode",%d')", mode);
}

int eg060LevelLine(const TestFields& t, ModemLine& line, const char* /*function*/) {
    return mfgp_formatLine(
        line,
        R"(atcon -c 'AT+QRFTEST="rx",%d,%d,%d,%d,-%d' | awk 'NR==2{split($0,a,"[:_]");print a[2]}')",
        t.integer(0), t.integer(1), t.integer(2), t.integer(3), t.integer(4));
}

// No line leaves this module's test mode. A mode other than 1 gives an empty line, and running it
// succeeds.
int fg621SetFtmLine(int mode, ModemLine& line) {
    return mfgp_formatLine(line, "%s", mode == 1 ? "cellcli -c at+sfun=5" : "");
}

int fg621ConfigurationLine(const TestFields& t, ModemLine& line) {
    return mfgp_formatLine(line, "cellcli -c 'AT+SPMAXRF=%d,%d,%d,%d,%d,%d'", t.integer(0), 2, 23,
                           t.integer(1), t.integer(3), 0);
}

// Field 2 selects the separator before the level: a blank if 0, else a comma. Field 3 is 2 for LTE,
// and any other value means WCDMA. If field 4 is neither 0 nor 1, the line is empty and prints
// nothing.
int fg621LevelLine(const TestFields& t, ModemLine& line, const char* /*function*/) {
    static constexpr const char* kLines[2][2] = {
        {R"(cellcli -c 'AT+WCDMARXLEVELDBM?' | awk 'NR==1{split($0,a,"[,_]");print a[2]}')",
         R"(cellcli -c 'AT+WCDMARXLEVELDBM?' | awk 'NR==1{split($0,a,"[ _]");print a[2]}')"},
        {R"(cellcli -c 'AT+LTERXLEVELDBM?' | awk 'NR==1{split($0,a,"[,_]");print a[2]}')",
         R"(cellcli -c 'AT+LTERXLEVELDBM?' | awk 'NR==1{split($0,a,"[ _]");print a[2]}')"}};
    const bool isLte = t.integer(3) == 2;
    const bool hasBlank = t.integer(2) == 0;
    return mfgp_formatLine(line, "%s", t.integer(4) == 1 ? kLines[isLte][hasBlank] : "");
}

constexpr Module kModules[] = {
    {
        .name = "EG18-EA",
        .setFtmLine = eg18SetFtmLine,
        .getFtmLine = R"(atcon -c AT+QRFTESTMODE? | awk 'NR==2{split($0,a,"[ ]");print a[2]}')",
        .fieldCount = 4,
        .wrongFieldCount = "fail to get RX Antenna test parameter for EG18-EA \n",
        .levelLine = eg18LevelLine,
    },
    {
        .name = "RG520N-EU",
        .setFtmLine = rg520SetFtmLine,
        .getFtmLine = R"(atcon -c AT+QFTMMODE? | awk 'NR==2{split($0,a,"[ ]");print a[2]}')",
        .fieldCount = 6,
        .wrongFieldCount = "fail to get RX Antenna test parameter for RG520N-EU \n",
        .levelLine = rg520LevelLine,
        .dropsLevel = isFieldFourZero,
    },
    {
        .name = "EG060K-EA",
        .setFtmLine = eg060SetFtmLine,
        .getFtmLine = R"(atcon -c 'AT+QRFTEST="mode"' | awk 'NR==2{split($0,a,"[ ]");print a[2]}')",
        .fieldCount = 5,
        // The protocol defines the small k.
        .wrongFieldCount = "fail to get RX Antenna test parameter for EG060k-EA \n",
        .levelLine = eg060LevelLine,
    },
    {
        .name = "FG621",
        .setFtmLine = fg621SetFtmLine,
        .getFtmLine = nullptr,
        .fieldCount = 5,
        .wrongFieldCount = "fail to get RX Antenna test parameter for FG621 \n",
        .levelLine = fg621LevelLine,
        .configurationLine = fg621ConfigurationLine,
        .skipsLevel = isFieldFourZero,
    },
};

}  // namespace

int TestFields::integer(int index) const { return mfgp_textToInt(text[index]); }

double TestFields::decimal(int index) const {
    return static_cast<double>(static_cast<float>(atof(text[index])));
}

const Module* mfgp_findModule(const char* name) {
    for (const Module& module : kModules)
        if (strcmp(module.name, name) == 0)
            return &module;
    return nullptr;
}
