#include "tests/support/wire.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

#include "protocol/cipher.h"

namespace {

std::string des(const std::string& text, const Account& account, CipherDirection direction) {
    uint8_t key[8];
    mfgp_deriveKey(key, account.user.c_str(), account.password.c_str());
    account.key.copy(reinterpret_cast<char*>(key), sizeof key);
    std::string out(text.size() + 16, '\0');
    out.resize(mfgp_desEcb(
        reinterpret_cast<const uint8_t*>(text.data()), static_cast<uint32_t>(text.size()),
        reinterpret_cast<uint8_t*>(out.data()), static_cast<uint32_t>(out.size()), key, direction));
    return out;
}

std::string md5(const std::string& text) {
    std::string digest(16, '\0');
    mfgp_md5(reinterpret_cast<uint8_t*>(digest.data()), text.data(), text.size());
    return digest;
}

std::string bigEndian(uint32_t value, int size) {
    std::string out;
    while (size-- > 0)
        out += static_cast<char>(value >> (8 * size));
    return out;
}

std::string headerOf(uint8_t type, uint32_t length, uint16_t id, uint8_t subType) {
    return std::string{2, static_cast<char>(type), 0, 0} + bigEndian(length, 4) + bigEndian(id, 2) +
           static_cast<char>(subType) + '\0';
}

}  // namespace

std::string wireOf(const Request& request, const Account& account) {
    std::string plain = request.payload;
    plain.resize((plain.size() + 7) / 8 * 8);
    const uint32_t length = request.length.value_or(static_cast<uint32_t>(plain.size()));
    const std::string header = headerOf(request.type, length, request.packetId, request.subType);
    std::string digest = md5(header + std::string(16, '\0') + plain);
    if (request.spoilDigest)
        digest[7] = static_cast<char>(digest[7] ^ 1);
    return header + digest + des(plain, account, CipherDirection::Encrypt);
}

std::string wireOfCipherText(uint8_t type, const std::string& cipherText) {
    const std::string header = headerOf(type, static_cast<uint32_t>(cipherText.size()), 0, 0);
    const std::string plain = des(cipherText, {}, CipherDirection::Decrypt);
    return header + md5(header + std::string(16, '\0') + plain) + cipherText;
}

std::string innerOf(uint8_t subType, const std::string& payload) {
    return headerOf(7, static_cast<uint32_t>(payload.size()), 0xA55A, subType) + payload;
}

Answer openAnswer(const std::string& wire, const Account& account) {
    Answer answer = {wire, wire.substr(0, 28), ""};
    EXPECT_GE(wire.size(), 28U);
    if (wire.size() < 28)
        return answer;
    answer.payload = des(wire.substr(28), account, CipherDirection::Decrypt);
    EXPECT_EQ(wire.substr(4, 4), bigEndian(static_cast<uint32_t>(wire.size() - 28), 4));
    EXPECT_EQ(md5(wire.substr(0, 12) + std::string(16, '\0') + answer.payload), wire.substr(12, 16))
        << "digest of the reply";
    return answer;
}

Station::Station(Account account, const char* from, uint16_t fromPort)
    : account_(std::move(account)), fd_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in own = {.sin_family = AF_INET, .sin_port = htons(fromPort)}, unit = own;
    inet_pton(AF_INET, from, &own.sin_addr);
    inet_pton(AF_INET, "127.0.0.1", &unit.sin_addr);
    unit.sin_port = htons(1040);
    const int on = 1;  // Where it is allowed, `from` can be another host's address.
    setsockopt(fd_, IPPROTO_IP, IP_TRANSPARENT, &on, sizeof on);
    if (bind(fd_, reinterpret_cast<const sockaddr*>(&own), sizeof own) != 0 ||
        connect(fd_, reinterpret_cast<const sockaddr*>(&unit), sizeof unit) != 0)
        throw std::runtime_error("cannot connect");
}

Station::~Station() { close(fd_); }

void Station::send(const std::string& datagram) const {
    EXPECT_EQ(::send(fd_, datagram.data(), datagram.size(), 0),
              static_cast<ssize_t>(datagram.size()));
}

std::optional<std::string> Station::receive(int milliseconds) const {
    pollfd wait = {fd_, POLLIN, 0};
    if (poll(&wait, 1, milliseconds) != 1)
        return std::nullopt;
    std::string datagram(65536, '\0');
    const ssize_t length = recv(fd_, datagram.data(), datagram.size(), 0);
    if (length < 0)
        return std::nullopt;
    datagram.resize(static_cast<size_t>(length));
    return datagram;
}

Answer Station::ask(const Request& request) const {
    send(wireOf(request, account_));
    const std::optional<std::string> reply = receive();
    if (!reply)
        throw std::runtime_error("no reply to sub-type " + std::to_string(request.subType));
    Answer answer = openAnswer(*reply, account_);
    EXPECT_EQ(answer.header.substr(8, 2), bigEndian(request.packetId, 2)) << "packet id";
    return answer;
}

Answer Station::command(uint8_t subType, const std::string& argument) const {
    Answer answer = ask({.type = kSpecial, .subType = subType, .payload = argument});
    const std::string start = {2, 3, answer.info() == kUnknownCommand ? '\0' : '\2'};
    EXPECT_EQ(answer.header.substr(0, 3), start) << "version, type and code";
    EXPECT_EQ(answer.header.at(10), static_cast<char>(subType));
    return answer;
}

Answer Station::encrypted(uint8_t subType, const std::string& argument) const {
    return ask({.type = kEncrypted, .subType = 0, .payload = innerOf(subType, argument)});
}
