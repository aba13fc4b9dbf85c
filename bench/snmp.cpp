// Asks an SNMP agent for one object again and again through one SNMPv3 session (user "bench",
// authPriv with MD5 and DES, password "benchbench") and prints the median time to the answer in
// nanoseconds.
//
//   bench-snmp HOST:PORT COUNT OID
#include <net-snmp/net-snmp-config.h>
// After the configuration.
#include <net-snmp/net-snmp-includes.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

constexpr char kPassword[] = "benchbench";

void deriveKey(const oid* protocol, size_t protocolLength, u_char* key, size_t* keyLength) {
    *keyLength = USM_AUTH_KU_LEN;
    if (generate_Ku(protocol, static_cast<u_int>(protocolLength),
                    reinterpret_cast<const u_char*>(kPassword), sizeof kPassword - 1, key,
                    keyLength) != SNMPERR_SUCCESS) {
        fprintf(stderr, "bench-snmp: no key\n");
        exit(1);
    }
}

snmp_session* openSession(char* peer) {
    static char user[] = "bench";
    static oid md5[] = {1, 3, 6, 1, 6, 3, 10, 1, 1, 2};
    static oid des[] = {1, 3, 6, 1, 6, 3, 10, 1, 2, 2};
    snmp_session session = {};
    snmp_sess_init(&session);
    session.version = SNMP_VERSION_3;
    session.peername = peer;
    session.securityName = user;
    session.securityNameLen = strlen(user);
    session.securityLevel = SNMP_SEC_LEVEL_AUTHPRIV;
    session.securityAuthProto = md5;
    session.securityAuthProtoLen = std::size(md5);
    session.securityPrivProto = des;
    session.securityPrivProtoLen = std::size(des);
    deriveKey(md5, std::size(md5), session.securityAuthKey, &session.securityAuthKeyLen);
    deriveKey(md5, std::size(md5), session.securityPrivKey, &session.securityPrivKeyLen);
    return snmp_open(&session);
}

bool get(snmp_session* session, const oid* name, size_t nameLength) {
    snmp_pdu* const request = snmp_pdu_create(SNMP_MSG_GET);
    snmp_add_null_var(request, name, nameLength);
    snmp_pdu* reply = nullptr;
    const int status = snmp_synch_response(session, request, &reply);
    const bool answered = status == STAT_SUCCESS && reply->errstat == SNMP_ERR_NOERROR &&
                          reply->variables->type == ASN_OCTET_STR;
    snmp_free_pdu(reply);
    return answered;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        fprintf(stderr, "usage: bench-snmp HOST:PORT COUNT OID\n");
        return 2;
    }
    setenv("MIBS", "", 1);
    setenv("SNMP_PERSISTENT_DIR", "/tmp/bench-snmp", 1);
    init_snmp("bench-snmp");
    snmp_session* const session = openSession(argv[1]);
    oid name[MAX_OID_LEN];
    size_t nameLength = MAX_OID_LEN;
    const size_t count = strtoul(argv[2], nullptr, 10);
    std::vector<long> times;
    if (session == nullptr || snmp_parse_oid(argv[3], name, &nameLength) == nullptr)
        return 1;
    for (size_t i = 0; i <= count; i++) {
        const auto start = std::chrono::steady_clock::now();
        if (!get(session, name, nameLength)) {
            fprintf(stderr, "bench-snmp: request %zu was not answered\n", i);
            return 1;
        }
        times.push_back((std::chrono::steady_clock::now() - start).count());
    }
    const auto middle = times.begin() + static_cast<ptrdiff_t>(count / 2);
    std::nth_element(times.begin(), middle, times.end());
    printf("%ld\n", *middle);
    snmp_close(session);
    return 0;
}
