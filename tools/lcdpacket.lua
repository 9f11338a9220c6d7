-- Wireshark dissector of the display's transfer packet, on TCP and in multicast datagrams.
--
--   wireshark -X lua_script:tools/lcdpacket.lua
--   tshark -X lua_script:tools/lcdpacket.lua -r capture.pcap -Y lcdpacket
--
-- docs/wire-format.md is the layout. Packets are found by their signature on any port, and taken for granted
-- on the display's own ports (preferences lcdpacket.tcp_port and lcdpacket.udp_port). A packet that the display
-- refuses or complains about is marked as malformed: filter for _ws.expert or lcdpacket.malformed.

local SIGNATURE = 0xA5A58EE8
local HEADER_SIZE, MAX_HEADER = 20, 1026
local STATUS_SIZE, ADDRESSED_STATUS_SIZE, MAX_STATUS = 8, 16, 1024
local FILE_HEAD_SIZE, FILE_OVERHEAD, MAX_NAME = 10, 14, 1023
local RECEIVE_BUFFER = 1000 -- of the display, for a datagram
local DESCRIPTOR_NAME = "KV_ALIVE_DESC.spt"

local COMMANDS = { [0] = "plain status", [0x0101] = "alive request", [0x0102] = "alive answer" }
local HEARTBEAT_KIND = 2

local lcdpacket = Proto("lcdpacket", "Lift display transfer packet")

local fields = {
    header_length = ProtoField.uint32("lcdpacket.header.length", "Header length"),
    mark = ProtoField.uint16("lcdpacket.mark", "Packet mark", base.HEX),
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
    "lcdpacket.malformed", "The display refuses this packet or complains about it", expert.group.MALFORMED,
    expert.severity.ERROR)
lcdpacket.experts = { malformed }

lcdpacket.prefs.tcp_port = Pref.uint("TCP port", 50200, "The display's data port (lcdDataPort)")
lcdpacket.prefs.udp_port = Pref.uint("UDP port", 50100, "The multicast group's port (lcdMcastPort)")

-- Where a packet's elements lie in bytes that come little by little. Gives the layout, with the number of
-- bytes that are needed to know more (layout.needed) or, once all is known, with layout.complete; a length
-- that no display takes ends it with layout.problem.
local function measure(bytes, is_datagram)
    local layout = { needed = 4 }
    local function has(count)
        layout.needed = count
        return bytes:len() >= count
    end
    if not has(4) then return layout end
    layout.header = bytes(0, 4):le_uint()
    if layout.header > MAX_HEADER or (layout.header < HEADER_SIZE and not is_datagram) then
        layout.problem = "a header of " .. layout.header .. " bytes"
        return layout
    end
    if not has(math.max(layout.header, HEADER_SIZE)) then return layout end
    if not is_datagram and bytes(16, 4):le_uint() ~= SIGNATURE then
        layout.problem = "a wrong signature"
        return layout
    end
    layout.count = bytes(6, 1):uint()
    local position = layout.header
    if layout.count >= 2 then
        if not has(position + 4) then return layout end
        layout.status = bytes(position, 4):le_uint()
        if layout.status > MAX_STATUS or (layout.status < STATUS_SIZE and not is_datagram) then
            layout.problem = "a command status of " .. layout.status .. " bytes"
            return layout
        end
        layout.status_at = position
        if not has(position + math.max(layout.status, STATUS_SIZE)) then return layout end
        position = position + layout.status
    end
    if layout.count == 3 then
        if not has(position + FILE_HEAD_SIZE) then return layout end
        layout.name = bytes(position + 8, 2):le_uint()
        if layout.name > MAX_NAME then
            layout.problem = "a file name of " .. layout.name .. " bytes"
            return layout
        end
        layout.file_at = position
        if not has(position + FILE_OVERHEAD + layout.name) then return layout end
        layout.data = bytes(position + FILE_HEAD_SIZE + layout.name, 4):le_uint()
        position = position + FILE_OVERHEAD + layout.name + layout.data
        if is_datagram and position > RECEIVE_BUFFER then
            layout.problem = "file data of " .. layout.data .. " bytes"
            return layout
        end
        if not has(position) then return layout end
    end
    layout.complete = true
    layout.needed = position
    return layout
end

local function add_header(bytes, tree, layout)
    tree:add_le(fields.header_length, bytes(0, 4))
    tree:add_le(fields.mark, bytes(4, 2))
    tree:add(fields.count, bytes(6, 1))
    tree:add_le(fields.word_a, bytes(8, 4))
    tree:add_le(fields.word_b, bytes(12, 4))
    local signature = tree:add_le(fields.signature, bytes(16, 4))
    if bytes(16, 4):le_uint() ~= SIGNATURE then
        signature:add_proto_expert_info(malformed, "Malformed: a wrong signature")
    end
    if layout.count and layout.header > HEADER_SIZE then
        tree:add(fields.header_rest, bytes(HEADER_SIZE, layout.header - HEADER_SIZE))
    end
end

-- Gives what the packet is, in words.
local function add_status(bytes, tree, layout)
    local at = layout.status_at
    local kind, command = bytes(at + 4, 2):le_uint(), bytes(at + 6, 2):le_uint()
    tree:add_le(fields.status_length, bytes(at, 4))
    local kind_item = tree:add_le(fields.kind, bytes(at + 4, 2))
    tree:add_le(fields.command, bytes(at + 6, 2))
    if kind ~= 1 and kind ~= 2 then
        kind_item:add_proto_expert_info(malformed, "Malformed: a status kind other than 1 and 2")
    end
    if layout.status > STATUS_SIZE then tree:add(fields.flag, bytes(at + 8, 1)) end
    local words = COMMANDS[command] or string.format("command 0x%04x", command)
    if kind == HEARTBEAT_KIND and command == 0 then words = "heartbeat" end
    if layout.status >= ADDRESSED_STATUS_SIZE then
        tree:add_le(fields.unit, bytes(at + 10, 2))
        tree:add_le(fields.column, bytes(at + 12, 2))
        tree:add_le(fields.group, bytes(at + 14, 2))
        words = words .. string.format(", group %d column %d unit %d", bytes(at + 14, 2):le_uint(),
            bytes(at + 12, 2):le_uint(), bytes(at + 10, 2):le_uint())
    end
    return words
end

local function add_file(bytes, tree, layout)
    local at = layout.file_at
    tree:add_le(fields.file_length, bytes(at, 4))
    tree:add_le(fields.file_kind, bytes(at + 4, 2))
    tree:add_le(fields.name_length, bytes(at + 8, 2))
    local data_at = at + FILE_OVERHEAD + layout.name
    local name = ""
    if layout.name > 0 then
        name = bytes(at + FILE_HEAD_SIZE, layout.name):string()
        tree:add(fields.name, bytes(at + FILE_HEAD_SIZE, layout.name))
    end
    tree:add_le(fields.data_length, bytes(data_at - 4, 4))
    if layout.data > 0 then
        local is_descriptor = name == DESCRIPTOR_NAME
        tree:add(is_descriptor and fields.descriptor or fields.data, bytes(data_at, layout.data))
    end
    return string.format("file %s (%d bytes)", name, layout.data)
end

-- Adds as much of the packet as is there; gives its words for the list of packets.
local function add_packet(bytes, tree, layout, length)
    local item = tree:add(lcdpacket, bytes(0, length))
    local words = {}
    if layout.count or bytes:len() >= HEADER_SIZE then add_header(bytes, item, layout) end
    if layout.status_at and bytes:len() >= layout.status_at + math.max(layout.status, STATUS_SIZE) then
        table.insert(words, add_status(bytes, item, layout))
    end
    if layout.complete and layout.file_at then table.insert(words, add_file(bytes, item, layout)) end
    local problem = layout.problem or (not layout.complete and "it ends before its elements do") or nil
    if problem then
        item:add_proto_expert_info(malformed, "Malformed: " .. problem)
        table.insert(words, "[malformed: " .. problem .. "]")
    end
    return #words > 0 and table.concat(words, ", ") or "header alone"
end

local function dissect_datagram(bytes, pinfo, tree)
    pinfo.cols.protocol = "LCDPACKET"
    pinfo.cols.info = add_packet(bytes, tree, measure(bytes, true), bytes:len())
    return bytes:len()
end

local function dissect_stream(bytes, pinfo, tree)
    local offset, summaries = 0, {}
    pinfo.cols.protocol = "LCDPACKET"
    while offset < bytes:len() do
        local rest = bytes(offset):tvb()
        local layout = measure(rest, false)
        if not layout.complete and not layout.problem then
            pinfo.desegment_offset = offset
            pinfo.desegment_len = layout.needed - rest:len()
            break
        end
        -- The display drops the connection at a problem: what follows is no packet any more.
        local length = layout.problem and rest:len() or layout.needed
        table.insert(summaries, add_packet(rest, tree, layout, length))
        offset = offset + length
    end
    if #summaries > 0 then pinfo.cols.info = table.concat(summaries, "; ") end
    return bytes:len()
end

function lcdpacket.dissector(bytes, pinfo, tree)
    if bytes:len() == 0 then return 0 end
    if pinfo.port_type == 3 then return dissect_datagram(bytes, pinfo, tree) end
    return dissect_stream(bytes, pinfo, tree)
end

local function has_signature(bytes)
    return bytes:len() >= HEADER_SIZE and bytes(16, 4):le_uint() == SIGNATURE and bytes(0, 4):le_uint() == HEADER_SIZE
end

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
