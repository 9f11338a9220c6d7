-- Wireshark dissector of the display's transfer packet, on TCP and in multicast datagrams.
--
--   wireshark -X lua_script:tools/lcdpacket.lua
--   tshark -X lua_script:tools/lcdpacket.lua -r capture.pcap -Y lcdpacket
--
-- docs/wire-format.md is the layout and says how to install this. Packets are found by their signature on any
-- port, and taken for granted on the display's own ports (preferences lcdpacket.tcp_port and lcdpacket.udp_port).
-- A packet that is cut short, or that the display refuses or complains about because of what is in it, is marked
-- as malformed: filter for lcdpacket.malformed.

local SIGNATURE, SIGNATURE_BYTES, SIGNATURE_AT = 0xA5A58EE8, "\xE8\x8E\xA5\xA5", 16
local HEADER_SIZE, MAX_HEADER = 20, 1026
local STATUS_SIZE, ADDRESSED_STATUS_SIZE, MAX_STATUS = 8, 16, 1024
local FILE_HEAD_SIZE, FILE_OVERHEAD, MAX_NAME = 10, 14, 1023
local RECEIVE_BUFFER = 1000 -- of the display, for a datagram
local MOST_AWAITED = 0x0ffffffd -- what is more has other meanings to Wireshark
local DESCRIPTOR_NAME = "KV_ALIVE_DESC.spt"

local COMMANDS = { [0] = "plain status", [0x0101] = "alive request", [0x0102] = "alive reply" }
local HEARTBEAT_KIND = 2

local lcdpacket = Proto("lcdpacket", "Lift display transfer packet")

local fields = {
    header_length = ProtoField.uint32("lcdpacket.header.length", "Header length"),
    mark = ProtoField.uint16("lcdpacket.mark", "Packet mark", base.HEX),
    reserved = ProtoField.uint8("lcdpacket.header.reserved", "Reserved"),
    count = ProtoField.uint8("lcdpacket.element_count", "Element count"),
    word_a = ProtoField.uint32("lcdpacket.word_a", "Request word A", base.HEX),
    word_b = ProtoField.uint32("lcdpacket.word_b", "Request word B", base.HEX),
    signature = ProtoField.uint32("lcdpacket.signature", "Signature word", base.HEX),
    header_rest = ProtoField.bytes("lcdpacket.header.rest", "More header bytes"),
    status_length = ProtoField.uint32("lcdpacket.status.length", "Command status length"),
    kind = ProtoField.uint16("lcdpacket.status.kind", "Status kind"),
    command = ProtoField.uint16("lcdpacket.command", "Command code", base.HEX, COMMANDS),
    flag = ProtoField.uint8("lcdpacket.status.flag", "Flag"),
    unit = ProtoField.uint16("lcdpacket.unit", "Unit number"),
    column = ProtoField.uint16("lcdpacket.column", "Column number"),
    group = ProtoField.uint16("lcdpacket.group", "Group number"),
    file_length = ProtoField.uint32("lcdpacket.file.length", "File element length"),
    file_kind = ProtoField.uint16("lcdpacket.file.kind", "Element kind"),
    name_length = ProtoField.uint16("lcdpacket.file.name_length", "Name length"),
    name = ProtoField.string("lcdpacket.file.name", "File name"),
    data_length = ProtoField.uint32("lcdpacket.file.data_length", "Data length"),
    data = ProtoField.bytes("lcdpacket.file.data", "File data"),
    descriptor = ProtoField.string("lcdpacket.descriptor", "Alive descriptor"),
}
lcdpacket.fields = fields

local malformed = ProtoExpert.new(
    "lcdpacket.malformed", "Packet that is cut short or that the display refuses", expert.group.MALFORMED,
    expert.severity.ERROR)
lcdpacket.experts = { malformed }

lcdpacket.prefs.tcp_port = Pref.uint("TCP port", 50200, "The display's data port (lcdDataPort)")
lcdpacket.prefs.udp_port = Pref.uint("UDP port", 50100, "The multicast group's port (lcdMcastPort)")

-- A layout says where a packet's elements lie in bytes that come little by little: how many bytes are needed to
-- know more (needed), whether all is known (is_complete), what the display complains about and goes on
-- (complaints), and what ends the packet for it (problem).
local function new_layout(bytes, is_datagram)
    return { bytes = bytes, is_datagram = is_datagram, complaints = {}, needed = 0,
        limit = is_datagram and RECEIVE_BUFFER or math.huge }
end

local function has(layout, count)
    layout.needed = count
    return layout.bytes:len() >= count
end

local function refuse(layout, problem, ...)
    layout.problem = string.format(problem, ...)
    return false
end

-- A display drops a connection for what it only reports of a datagram.
local function complain(layout, problem, ...)
    if not layout.is_datagram then return refuse(layout, problem, ...) end
    table.insert(layout.complaints, string.format(problem, ...))
    return true
end

-- This and the next two: false when no more can be known, or nothing more is to be.
local function measure_header(layout)
    local bytes = layout.bytes
    if not has(layout, 4) then return false end
    layout.header = bytes(0, 4):le_uint()
    local least = layout.is_datagram and 0 or HEADER_SIZE
    if layout.header < least or layout.header > math.min(MAX_HEADER, layout.limit) then
        return refuse(layout, "a header of %.0f bytes", layout.header)
    end
    if not has(layout, math.max(layout.header, HEADER_SIZE)) then return false end
    layout.count = bytes(6, 1):uint()
    return bytes(SIGNATURE_AT, 4):le_uint() == SIGNATURE or complain(layout, "a wrong signature")
end

local function measure_status(layout)
    local bytes, at = layout.bytes, layout.header
    local room = layout.limit - at
    if room < STATUS_SIZE then return refuse(layout, "no room for a command status") end
    if not has(layout, at + 4) then return false end
    local length = bytes(at, 4):le_uint()
    local least = layout.is_datagram and 0 or STATUS_SIZE
    if length < least or length > math.min(MAX_STATUS, room) then
        return refuse(layout, "a command status of %.0f bytes", length)
    end
    if not has(layout, at + math.max(length, STATUS_SIZE)) then return false end
    layout.status_at, layout.status = at, length
    local kind = bytes(at + 4, 2):le_uint()
    return kind == 1 or kind == 2 or complain(layout, "a status kind of %d", kind)
end

-- A name that no display stores, whatever is in its folders.
local function is_refused(name)
    return name == "" or name:find("\0", 1, true) or ("/" .. name .. "/"):find("/../", 1, true)
end

local function measure_file(layout)
    local bytes, at = layout.bytes, layout.header + layout.status
    local room = layout.limit - at
    if room < FILE_OVERHEAD then return refuse(layout, "no room for a file element") end
    if not has(layout, at + FILE_HEAD_SIZE) then return false end
    local name = bytes(at + 8, 2):le_uint()
    if name > math.min(MAX_NAME, room - FILE_OVERHEAD) then return refuse(layout, "a file name of %d bytes", name) end
    local data_at = at + FILE_OVERHEAD + name
    if not has(layout, data_at) then return false end
    layout.file_at, layout.name, layout.data_at = at, name, data_at
    layout.data = bytes(data_at - 4, 4):le_uint()
    if data_at + layout.data > layout.limit then return refuse(layout, "file data of %.0f bytes", layout.data) end
    if not layout.is_datagram and is_refused(name > 0 and bytes(at + FILE_HEAD_SIZE, name):raw() or "") then
        return refuse(layout, "a file name that is refused")
    end
    return has(layout, data_at + layout.data)
end

local function measure(bytes, is_datagram)
    local layout = new_layout(bytes, is_datagram)
    layout.is_complete = measure_header(layout) and (layout.count < 2 or measure_status(layout))
        and (layout.count ~= 3 or measure_file(layout))
    if layout.is_complete and layout.count < 2 then layout.needed = layout.header end
    if layout.is_complete and layout.count >= 2 and layout.count ~= 3 then
        layout.needed = layout.header + layout.status
    end
    return layout
end

local function add_header(bytes, tree, layout)
    tree:add_le(fields.header_length, bytes(0, 4))
    tree:add_le(fields.mark, bytes(4, 2))
    tree:add(fields.count, bytes(6, 1))
    tree:add(fields.reserved, bytes(7, 1))
    tree:add_le(fields.word_a, bytes(8, 4))
    tree:add_le(fields.word_b, bytes(12, 4))
    tree:add_le(fields.signature, bytes(SIGNATURE_AT, 4))
    if layout.count and layout.header > HEADER_SIZE then
        tree:add(fields.header_rest, bytes(HEADER_SIZE, layout.header - HEADER_SIZE))
    end
end

-- This and the next give what the packet is, in words.
local function add_status(bytes, tree, layout)
    local at = layout.status_at
    local kind, command = bytes(at + 4, 2):le_uint(), bytes(at + 6, 2):le_uint()
    tree:add_le(fields.status_length, bytes(at, 4))
    tree:add_le(fields.kind, bytes(at + 4, 2))
    tree:add_le(fields.command, bytes(at + 6, 2))
    if layout.status > STATUS_SIZE then tree:add(fields.flag, bytes(at + 8, 1)) end
    local words = COMMANDS[command] or string.format("command 0x%04x", command)
    if kind == HEARTBEAT_KIND and command == 0 then words = "heartbeat" end
    if layout.status < ADDRESSED_STATUS_SIZE then return words end
    local unit, column, group = bytes(at + 10, 2), bytes(at + 12, 2), bytes(at + 14, 2)
    tree:add_le(fields.unit, unit)
    tree:add_le(fields.column, column)
    tree:add_le(fields.group, group)
    return words .. string.format(", group %d column %d unit %d", group:le_uint(), column:le_uint(), unit:le_uint())
end

local function add_file(bytes, tree, layout)
    local at = layout.file_at
    tree:add_le(fields.file_length, bytes(at, 4))
    tree:add_le(fields.file_kind, bytes(at + 4, 2))
    tree:add_le(fields.name_length, bytes(at + 8, 2))
    local name = ""
    if layout.name > 0 then
        name = bytes(at + FILE_HEAD_SIZE, layout.name):string()
        tree:add(fields.name, bytes(at + FILE_HEAD_SIZE, layout.name))
    end
    tree:add_le(fields.data_length, bytes(layout.data_at - 4, 4))
    local there = math.min(layout.data, bytes:len() - layout.data_at)
    if there > 0 then
        local is_descriptor = name == DESCRIPTOR_NAME
        tree:add(is_descriptor and fields.descriptor or fields.data, bytes(layout.data_at, there))
    end
    return string.format("file %s (%.0f bytes)", name, layout.data)
end

-- Adds as much of the packet as is there; gives its words for the list of packets. The note says why a part of
-- it is missing, if that is no fault of the packet's.
local function add_packet(bytes, tree, layout, length, note)
    local item = tree:add(lcdpacket, bytes(0, length))
    local words, problems = {}, layout.complaints
    if bytes:len() >= HEADER_SIZE then add_header(bytes, item, layout) end
    if layout.status_at then table.insert(words, add_status(bytes, item, layout)) end
    if layout.file_at then table.insert(words, add_file(bytes, item, layout)) end
    if layout.is_complete and #words == 0 then table.insert(words, "header alone") end
    if layout.problem then
        table.insert(problems, layout.problem)
    elseif note then
        table.insert(words, "[" .. note .. "]")
    elseif not layout.is_complete then
        table.insert(problems, "it ends before its elements do")
    end
    for _, problem in ipairs(problems) do
        item:add_proto_expert_info(malformed, "Malformed: " .. problem)
    end
    if #problems > 0 then table.insert(words, "[malformed: " .. table.concat(problems, "; ") .. "]") end
    return table.concat(words, ", ")
end

local function dissect_datagram(bytes, pinfo, tree)
    local layout = measure(bytes, true)
    local is_cut = bytes:len() < bytes:reported_len() and layout.needed <= bytes:reported_len()
    pinfo.cols.protocol = "LCDPACKET"
    pinfo.cols.info = add_packet(bytes, tree, layout, bytes:len(),
        not layout.is_complete and is_cut and "the capture has no more of it" or nil)
    return bytes:len()
end

local function has_signature(bytes)
    if bytes:len() < HEADER_SIZE then return false end
    local length = bytes(0, 4):le_uint()
    return length >= HEADER_SIZE and length <= MAX_HEADER and bytes(SIGNATURE_AT, 4):le_uint() == SIGNATURE
end

-- What is known of each TCP connection, by Wireshark's number of it:
--   lost_from   the frame from which on segments may begin anywhere in a packet
--   dropped_at  the frame with the packet for which the display drops it: what follows is no packet any more
--   is_waiting  a packet is not complete yet
--   cut_at      the frame that ended it in such a packet
local streams = {}
local stream_number, completeness = Field.new("tcp.stream"), Field.new("tcp.completeness")
local is_end, is_reset = Field.new("tcp.flags.fin"), Field.new("tcp.flags.reset")

function lcdpacket.init()
    streams = {}
end

local function stream_of(pinfo)
    local number = stream_number().value
    if not streams[number] then
        local is_begin_seen = completeness().value % 2 == 1
        streams[number] = { lost_from = is_begin_seen and math.huge or 0, dropped_at = math.huge }
    end
    return streams[number]
end

-- The offset of the next packet in the middle of a connection; nothing when there is none.
local function find_packet(bytes, offset)
    local raw, found = bytes:raw(), offset + SIGNATURE_AT
    repeat
        found = raw:find(SIGNATURE_BYTES, found + 1, true)
        local at = found and found - 1 - SIGNATURE_AT
        if at and has_signature(bytes(at):tvb()) then return at end
    until not found
end

-- One packet of a connection; gives the bytes it takes, or nothing when more segments are needed for it.
local function dissect_next(bytes, pinfo, tree, stream, words)
    local layout = measure(bytes, false)
    local is_short = not layout.is_complete and not layout.problem
    if is_short and pinfo.can_desegment > 0 then return nil, layout.needed - bytes:len() end
    if is_short then stream.lost_from = math.min(stream.lost_from, pinfo.number) end
    if layout.problem then stream.dropped_at = math.min(stream.dropped_at, pinfo.number) end
    local length = layout.is_complete and layout.needed or bytes:len()
    table.insert(words, add_packet(bytes, tree, layout, length, is_short and "not reassembled" or nil))
    return length
end

local function dissect_stream(bytes, pinfo, tree)
    local stream, offset, words = stream_of(pinfo), 0, {}
    local is_lost, missing = pinfo.number > stream.lost_from, 0
    stream.is_waiting = false
    pinfo.cols.protocol = "LCDPACKET"
    if pinfo.number > stream.dropped_at then
        pinfo.cols.info = "[behind a malformed packet]"
        return bytes:len()
    end
    while offset < bytes:len() do
        local start = is_lost and find_packet(bytes, offset) or not is_lost and offset
        if start ~= offset then table.insert(words, "[middle of a packet]") end
        if not start then break end
        local length
        length, missing = dissect_next(bytes(start):tvb(), pinfo, tree, stream, words)
        if not length then
            pinfo.desegment_offset, pinfo.desegment_len = start, math.min(missing, MOST_AWAITED)
            stream.is_waiting = true
            break
        end
        offset = start + length
    end
    if #words > 0 then pinfo.cols.info = table.concat(words, "; ") end
    return bytes:len()
end

function lcdpacket.dissector(bytes, pinfo, tree)
    if bytes:len() == 0 then return 0 end
    if pinfo.port_type == 3 then return dissect_datagram(bytes, pinfo, tree) end
    return dissect_stream(bytes, pinfo, tree)
end

-- A packet that the connection's end has cut off has no segment of its own that could show it.
local ending = Proto("lcdpacket_end", "End of a connection in a lift display transfer packet")

function ending.dissector(_, pinfo, tree)
    local number = stream_number()
    local stream = number and streams[number.value]
    if not stream then return end
    if stream.is_waiting and not pinfo.visited and (is_end().value or is_reset().value) then
        stream.is_waiting = false
        stream.cut_at = pinfo.number
    end
    if stream.cut_at == pinfo.number then
        tree:add(lcdpacket):add_proto_expert_info(malformed, "Malformed: the connection ends before the packet does")
        pinfo.cols.info:append(" [malformed: the connection ends before the packet does]")
    end
end

register_postdissector(ending)

lcdpacket:register_heuristic("udp", function(bytes, pinfo, tree)
    if not has_signature(bytes) then return false end
    dissect_datagram(bytes, pinfo, tree)
    return true
end)

lcdpacket:register_heuristic("tcp", function(bytes, pinfo, tree)
    if not has_signature(bytes) then return false end
    pinfo.conversation = lcdpacket
    dissect_stream(bytes, pinfo, tree)
    return true
end)

local ports = {}

local function take_ports()
    for _, transport in ipairs({ "tcp", "udp" }) do
        local port, known = lcdpacket.prefs[transport .. "_port"], ports[transport]
        local table_of_ports = DissectorTable.get(transport .. ".port")
        if known and known ~= port then table_of_ports:remove(known, lcdpacket) end
        if known ~= port and port ~= 0 then table_of_ports:add(port, lcdpacket) end
        ports[transport] = port
    end
end

lcdpacket.prefs_changed = take_ports
take_ports()
