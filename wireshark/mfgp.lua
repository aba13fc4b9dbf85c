-- Wireshark dissector for the mfgp protocol: UDP port 1040, version 2.
--
--     wireshark -X lua_script:wireshark/mfgp.lua
--
-- or copy it into the folder for personal Lua plugins (Help > About > Folders). The payload is
-- enciphered with a key from the unit's web account, so it is shown as cipher text.

local mfgp = Proto("mfgp", "mfgp factory and service protocol")

local PORT = 1040
local HEADER_SIZE = 28
local INNER_HEADER_SIZE = 12

local TYPES = {
    [1] = "set configuration",
    [2] = "get configuration",
    [3] = "special command",
    [4] = "heartbeat",
    [5] = "system initialisation",
    [6] = "cancel test",
    [7] = "encrypted command",
    [8] = "USB test",
}

local INFOS = {
    [0] = "done",
    [3] = "failed, or refused outside produce mode",
    [5] = "unknown sub-type",
    [7] = "not version 2",
    [8] = "bound to another station",
    [9] = "wrong digest or length: usually a wrong account",
}

-- The command names of mfgp-station. scripts/manual writes both tables.
local SPECIAL = {
    -- table: type-3
    [10] = "get product-id",
    [17] = "erase radio",
    [18] = "calibrate",
    [50] = "get button",
    [53] = "get device-id",
    [54] = "set device-id",
    [55] = "get mac",
    [56] = "get firmware-id",
    [57] = "get hardware-id",
    [58] = "get hardware-description",
    [59] = "get oem-id",
    [60] = "set oem-id",
    [64] = "get special-id",
    [65] = "set special-id",
    [66] = "get country",
    [67] = "set country",
    [68] = "get ssid",
    [69] = "get enable-flags",
    [70] = "get hardware-version",
    [71] = "get firmware-version",
    [75] = "set mac",
    [76] = "set pin",
    [77] = "set group",
    [78] = "get group",
    [79] = "generate group",
    [80] = "enable test-mode",
    [82] = "set model-name",
    [86] = "get calibration",
    [87] = "get bluetooth",
    [88] = "fan status",
    [89] = "fan recheck",
    [90] = "set imei",
    [91] = "get imei",
    [92] = "qlog start",
    [93] = "qlog stop",
    [94] = "set external-antenna",
    [104] = "fan set",
    [105] = "fan speeds",
    [106] = "get card-state",
    [107] = "get card-connection",
    [108] = "get card-signal",
    [109] = "get card-registration",
    [110] = "get sim-imei",
    [112] = "antenna-test",
    [113] = "get antenna-level",
    [114] = "set ftm",
    [115] = "get ftm",
    [116] = "get modem-version",
    [128] = "smart-antenna",
    [131] = "rssi-spread",
    [135] = "config-check",
    -- end of table
}

local ENCRYPTED = {
    -- table: type-7
    [70] = "encrypted hardware-version",
    [71] = "encrypted firmware-version",
    [72] = "get model-name",
    [73] = "reset",
    -- end of table
}

local f = mfgp.fields
f.version = ProtoField.uint8("mfgp.version", "Version")
f.type = ProtoField.uint8("mfgp.type", "Type", base.DEC, TYPES)
f.code = ProtoField.uint8("mfgp.code", "Code")
f.info = ProtoField.uint8("mfgp.info", "Info", base.DEC, INFOS)
f.request_info = ProtoField.uint8("mfgp.info", "Info")
f.length = ProtoField.uint32("mfgp.length", "Payload length")
f.id = ProtoField.uint16("mfgp.id", "Packet id", base.HEX)
f.subtype = ProtoField.uint8("mfgp.subtype", "Sub-type")
f.special = ProtoField.uint8("mfgp.subtype", "Sub-type", base.DEC, SPECIAL)
f.encrypted = ProtoField.uint8("mfgp.subtype", "Sub-type", base.DEC, ENCRYPTED)
f.reserved = ProtoField.uint8("mfgp.reserved", "Reserved", base.HEX)
f.digest = ProtoField.bytes("mfgp.digest", "MD5 digest of the packet in plain")
f.payload = ProtoField.bytes("mfgp.payload", "Payload (cipher text)")
f.inner = ProtoField.none("mfgp.inner", "Inner header")
f.inner_payload = ProtoField.bytes("mfgp.inner_payload", "Inner payload (plain)")
f.rest = ProtoField.bytes("mfgp.rest", "Bytes that are not read")
f.request_in = ProtoField.framenum("mfgp.request_in", "Request in", base.NONE,
    frametype.REQUEST)
f.reply_in = ProtoField.framenum("mfgp.reply_in", "Reply in", base.NONE, frametype.RESPONSE)
f.time = ProtoField.relative_time("mfgp.time", "Time since the request")

local e = mfgp.experts
e.info = ProtoExpert.new("mfgp.info.not_zero", "The unit did not do it", expert.group.RESPONSE_CODE,
    expert.severity.WARN)
e.length = ProtoExpert.new("mfgp.length.wrong", "The payload length is not that of the datagram",
    expert.group.MALFORMED, expert.severity.ERROR)
e.block = ProtoExpert.new("mfgp.length.no_block", "The payload length is not a multiple of 8",
    expert.group.PROTOCOL, expert.severity.WARN)
e.short = ProtoExpert.new("mfgp.short", "Shorter than a header", expert.group.MALFORMED,
    expert.severity.ERROR)
e.version = ProtoExpert.new("mfgp.version.unknown", "Not version 2", expert.group.PROTOCOL,
    expert.severity.WARN)

-- Matches requests and replies by frame number on the first pass over the packets. A reply has the
-- packet id of its request and goes from the unit to the same station.
local requests, replies, waiting

function mfgp.init()
    requests, replies, waiting = {}, {}, {}
end

local function match(pinfo, is_reply, id)
    local station, unit = tostring(pinfo.src) .. ":" .. pinfo.src_port, tostring(pinfo.dst)
    if is_reply then
        station, unit = tostring(pinfo.dst) .. ":" .. pinfo.dst_port, tostring(pinfo.src)
    end
    local key = station .. " " .. unit .. " " .. id
    if not is_reply then
        waiting[key] = {frame = pinfo.number, time = pinfo.rel_ts}
    elseif waiting[key] then
        requests[pinfo.number] = waiting[key]
        replies[waiting[key].frame] = pinfo.number
        waiting[key] = nil
    end
end

local function add_match(tree, pinfo)
    local request = requests[pinfo.number]
    if request then
        tree:add(f.request_in, request.frame):set_generated()
        local passed = pinfo.rel_ts - request.time
        local seconds = math.floor(passed)
        local nanoseconds = math.floor((passed - seconds) * 1e9 + 0.5)
        tree:add(f.time, NSTime.new(seconds, nanoseconds)):set_generated()
    elseif replies[pinfo.number] then
        tree:add(f.reply_in, replies[pinfo.number]):set_generated()
    end
end

-- Adds the first twelve bytes. An encrypted command has a second such header inside.
local function add_header(tree, bytes, is_reply, subtype_field)
    tree:add(f.version, bytes(0, 1))
    tree:add(f.type, bytes(1, 1))
    tree:add(f.code, bytes(2, 1))
    local info = tree:add(is_reply and f.info or f.request_info, bytes(3, 1))
    if is_reply and bytes(3, 1):uint() ~= 0 then
        info:add_proto_expert_info(e.info)
    end
    local length = tree:add(f.length, bytes(4, 4))
    tree:add(f.id, bytes(8, 2))
    tree:add(subtype_field, bytes(10, 1))
    tree:add(f.reserved, bytes(11, 1))
    return length
end

-- Returns true if the payload begins with a readable inner header. On the wire it is cipher text. It
-- is readable in packets that were logged in plain text and converted with text2pcap. Cipher text
-- looks like an inner header in less than one of a million packets.
local function has_plain_inner(payload)
    return payload:len() >= INNER_HEADER_SIZE and payload(0, 1):uint() == 2
        and payload(2, 1):uint() % 2 == 0 and payload(2, 1):uint() <= 2
        and payload(4, 4):uint() <= payload:len() - INNER_HEADER_SIZE
end

local function add_payload(tree, payload, is_reply, type)
    if type == 7 and has_plain_inner(payload) then
        local inner = tree:add(f.inner, payload(0, INNER_HEADER_SIZE))
        add_header(inner, payload, is_reply, f.encrypted)
        if payload:len() > INNER_HEADER_SIZE then
            tree:add(f.inner_payload, payload(INNER_HEADER_SIZE))
        end
        return ENCRYPTED[payload(10, 1):uint()]
    end
    local item = tree:add(f.payload, payload)
    if type == 7 then
        item:append_text(" with the inner header in it")
    end
end

local function add_packet(tree, bytes, is_reply)
    local type, subtype = bytes(1, 1):uint(), bytes(10, 1):uint()
    local length_item = add_header(tree, bytes, is_reply, type == 3 and f.special or f.subtype)
    tree:add(f.digest, bytes(12, 16))
    local length, present = bytes(4, 4):uint(), bytes:reported_len() - HEADER_SIZE
    if length ~= present then
        length_item:add_proto_expert_info(e.length)
    elseif length % 8 ~= 0 then
        length_item:add_proto_expert_info(e.block)
    end
    local name = type == 3 and (SPECIAL[subtype] or subtype > 0 and "sub-type " .. subtype)
    if bytes:len() > HEADER_SIZE then
        name = add_payload(tree, bytes(HEADER_SIZE), is_reply, type) or name
    end
    return name or TYPES[type] or "type " .. type
end

-- Adds a packet of an older version, or the twelve bytes of the reply to it.
local function add_other_version(tree, bytes, is_reply)
    local version = tree:add(f.version, bytes(0, 1))
    if is_reply and bytes:len() == 12 and bytes(3, 1):uint() == 7 then
        tree:add(f.info, bytes(3, 1)):add_proto_expert_info(e.info)
        return "short form"
    end
    version:add_proto_expert_info(e.version)
    if bytes:len() > 1 then
        tree:add(f.rest, bytes(1))
    end
    return "version " .. bytes(0, 1):uint()
end

local function describe(bytes, is_reply, name)
    local text = (is_reply and "Reply: " or "Request: ") .. name
    local info = bytes:len() > 3 and bytes(3, 1):uint() or 0
    if is_reply and info ~= 0 then
        text = text .. ", info " .. info .. " (" .. (INFOS[info] or "unknown") .. ")"
    end
    return text
end

function mfgp.dissector(bytes, pinfo, root)
    local is_reply = pinfo.src_port == PORT
    if is_reply == (pinfo.dst_port == PORT) then -- another port, or two units
        is_reply = bytes:len() > 2 and bytes(2, 1):uint() == 2
    end
    pinfo.cols.protocol = "MFGP"
    local tree = root:add(mfgp, bytes())
    local name
    if bytes(0, 1):uint() ~= 2 then
        name = add_other_version(tree, bytes, is_reply)
    elseif bytes:len() < HEADER_SIZE then
        tree:add_proto_expert_info(e.short)
        name = "cut off"
    else
        if not pinfo.visited then
            match(pinfo, is_reply, bytes(8, 2):uint())
        end
        name = add_packet(tree, bytes, is_reply)
        add_match(tree, pinfo)
    end
    pinfo.cols.info = describe(bytes, is_reply, name)
    tree:append_text(", " .. describe(bytes, is_reply, name))
end

DissectorTable.get("udp.port"):add(PORT, mfgp)
