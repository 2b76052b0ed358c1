-- Ancillary data in RTP packets of the dynamic payload type 112. What is wrong with a packet becomes a field
-- "rfc8331.error".
local rfc8331 = Proto("rfc8331", "Ancillary data (RFC 8331)")
local field = rfc8331.fields
field.extended = ProtoField.uint16("rfc8331.extended", "Extended sequence number")
field.length = ProtoField.uint16("rfc8331.length", "Length")
field.count = ProtoField.uint8("rfc8331.count", "Ancillary packets")
field.signal = ProtoField.uint8("rfc8331.f", "F")
field.colour = ProtoField.uint8("rfc8331.c", "C")
field.line = ProtoField.uint16("rfc8331.line", "Line")
field.offset = ProtoField.uint16("rfc8331.offset", "Horizontal offset")
field.stream = ProtoField.uint8("rfc8331.stream", "Stream")
field.did = ProtoField.uint16("rfc8331.did", "DID", base.HEX)
field.sdid = ProtoField.uint16("rfc8331.sdid", "SDID", base.HEX)
field.words = ProtoField.uint16("rfc8331.data_count", "Data count")
field.sum = ProtoField.uint16("rfc8331.checksum", "Checksum", base.HEX)
field.wrong = ProtoField.string("rfc8331.error", "Error")

local function has_parity(word)
    local ones = 0
    for bit = 0, 7 do
        ones = ones + bit32.extract(word, bit)
    end
    return bit32.rshift(word, 8) == (ones % 2 == 1 and 1 or 2)
end

-- Returns where the next packet begins, or nothing when this one leaves the payload.
local function dissect_packet(payload, at, tree)
    local function wrong(text) tree:add(field.wrong, payload(at), text) end
    local function word(index)
        local bit = 32 + 10 * index
        return payload(at + math.floor(bit / 8), 2):bitfield(bit % 8, 10)
    end
    if payload:len() - at < 12 then return wrong("packet is cut short") end
    local data = bit32.band(word(2), 0xFF)
    local bytes = 4 * math.ceil((32 + 10 * (data + 4)) / 32)
    if payload:len() - at < bytes then return wrong("packet is cut short") end

    local branch = tree:add(payload(at, bytes), "Ancillary packet")
    branch:add(field.colour, payload(at, 1), payload(at, 4):bitfield(0, 1))
    branch:add(field.line, payload(at, 2), payload(at, 4):bitfield(1, 11))
    branch:add(field.offset, payload(at + 1, 2), payload(at, 4):bitfield(12, 12))
    if payload(at, 4):bitfield(24, 1) == 1 then
        branch:add(field.stream, payload(at + 3, 1), payload(at, 4):bitfield(25, 7))
    elseif payload(at, 4):bitfield(25, 7) ~= 0 then
        wrong("stream number without its flag")
    end
    branch:add(field.did, payload(at + 4, 2), word(0))
    branch:add(field.sdid, payload(at + 5, 2), word(1))
    branch:add(field.words, payload(at + 6, 2), data)
    for index = 0, 2 do
        if not has_parity(word(index)) then wrong("parity of word " .. index) end
    end
    local sum = 0
    for index = 0, data + 2 do
        sum = (sum + bit32.band(word(index), 0x1FF)) % 512
    end
    if sum < 256 then sum = sum + 512 end
    branch:add(field.sum, payload(at + bytes - 4), word(data + 3))
    if word(data + 3) ~= sum then wrong("checksum") end
    for bit = 32 + 10 * (data + 4), bytes * 8 - 1 do
        if payload(at + math.floor(bit / 8), 1):bitfield(bit % 8, 1) ~= 0 then wrong("alignment is not zero") end
    end
    return at + bytes
end

function rfc8331.dissector(payload, info, root)
    info.cols.protocol = "RFC8331"
    local tree = root:add(rfc8331, payload())
    local function wrong(text) tree:add(field.wrong, payload(), text) end
    if payload:len() < 8 then return wrong("no header") end
    local length, count = payload(2, 2):uint(), payload(4, 1):uint()
    tree:add(field.extended, payload(0, 2))
    tree:add(field.length, payload(2, 2))
    tree:add(field.count, payload(4, 1))
    tree:add(field.signal, payload(5, 1), payload(5, 1):bitfield(0, 2))
    if payload(5, 1):bitfield(0, 2) == 1 then wrong("F is invalid") end
    if payload(5, 1):bitfield(2, 6) ~= 0 or payload(6, 2):uint() ~= 0 then wrong("reserved bits") end
    if length ~= payload:len() - 8 then wrong("length is not that of the payload") end
    local at = 8
    for _ = 1, count do
        at = dissect_packet(payload, at, tree)
        if not at then return end
    end
    if at ~= payload:len() then wrong("bytes behind the last packet") end
end

DissectorTable.get("rtp.pt"):add(112, rfc8331)
