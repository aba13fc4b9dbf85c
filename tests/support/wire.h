// A station's view of the wire, independent of the client so that neither hides a fault of the
// other. Packets are built byte by byte and may be wrong on purpose.
#pragma once

#include <netinet/in.h>

#include <cstdint>
#include <optional>
#include <string>

// Packet types, sub-types and infos. The daemon has its own numbers, which these check.
constexpr uint8_t kSetConfig = 1, kGetConfig = 2, kSpecial = 3, kHeartbeat = 4, kInit = 5,
                  kCancel = 6, kEncrypted = 7, kListUsb = 8;
constexpr uint8_t kGetProductId = 10, kEraseRadio = 17, kStartCal = 18, kButton = 50,
                  kGetDeviceId = 53, kSetDeviceId = 54, kGetMac = 55, kGetFirmwareId = 56,
                  kGetHardwareId = 57, kGetDescription = 58, kGetOemId = 59, kSetOemId = 60,
                  kGetSpecialId = 64, kSetSpecialId = 65, kGetCountry = 66, kSetCountry = 67,
                  kGetSsid = 68, kGetFlags = 69, kGetHardware = 70, kGetFirmware = 71,
                  kGetModel = 72, kReset = 73, kSetMac = 75, kSetPin = 76, kSetGroup = 77,
                  kGetGroup = 78, kGenerateGroup = 79, kTestMode = 80, kSetModel = 82,
                  kCalStatus = 86, kBluetooth = 87, kFanStatus = 88, kRecheck = 89, kSetImei = 90,
                  kGetImei = 91, kStartLog = 92, kStopLog = 93, kExtAntenna = 94, kSetFan = 104,
                  kFanSpeeds = 105, kCardState = 106, kCardConn = 107, kCardSignal = 108,
                  kCardRegState = 109, kSimImei = 110, kSetAntenna = 112, kGetAntenna = 113,
                  kSetFtm = 114, kGetFtm = 115, kLteVersion = 116, kChains = 128, kSpread = 131,
                  kConfig = 135;
constexpr uint8_t kCommandFailed = 3, kUnknownCommand = 5, kBoundToAnother = 8, kNotDecoded = 9;

struct Account {
    std::string user = "kiosk";
    std::string password = "kiosk";
    std::string key = {};  // eight bytes instead of the account's
};

struct Request {
    uint8_t type = kSpecial;
    uint8_t subType = 0;
    std::string payload = {};  // not yet ciphered
    uint16_t packetId = 0xA55A;
    std::optional<uint32_t> length = {};  // instead of the padded payload length
    bool spoilDigest = false;
};

// Returns the datagram of a request: padded, digested and ciphered with the account's key.
std::string wireOf(const Request& request, const Account& account = {});

// Returns the datagram with this ciphered payload, whose length need not be a multiple of 8.
std::string wireOfCipherText(uint8_t type, const std::string& cipherText);

// Returns the payload of a type-7 packet: the inner header and the inner payload.
std::string innerOf(uint8_t subType, const std::string& payload);

struct Answer {
    std::string wire;     // the whole datagram
    std::string header;   // 28 bytes
    std::string payload;  // deciphered, padding included
    uint8_t info() const { return static_cast<uint8_t>(header.at(3)); }
    // The payload up to the first zero byte.
    std::string text() const { return payload.c_str(); }
};

// Deciphers a reply. The test fails if the digest or the length is wrong.
Answer openAnswer(const std::string& wire, const Account& account = {});

inline std::string x(size_t count) { return std::string(count, 'x'); }

// Returns the argument of "set group".
inline std::string groupObject(const std::string& key = std::string(304, 'k'),
                               const std::string& gid = std::string(36, 'g'),
                               const std::string& pack = "3") {
    return R"({"gid":")" + gid + R"(","pack":)" + pack + R"(,"key":")" + key + R"("})";
}

// A station: a UDP socket on the loopback.
class Station {
  public:
    explicit Station(Account account = {}, const char* from = "127.0.0.1", uint16_t fromPort = 0);
    ~Station();
    Station(Station&&) = delete;  // neither moved nor copied

    void send(const std::string& datagram) const;
    // Returns the next datagram, or nothing if none arrives in time.
    std::optional<std::string> receive(int milliseconds = 30000) const;

    // Sends the request and opens the reply.
    Answer ask(const Request& request) const;
    // Asks with a special command.
    Answer command(uint8_t subType, const std::string& argument = {}) const;
    // Asks with an encrypted command. The payload of the reply begins with the inner header.
    Answer encrypted(uint8_t subType, const std::string& argument = {}) const;

  private:
    Account account_;
    int fd_;
};
