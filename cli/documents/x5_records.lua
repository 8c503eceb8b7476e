-- A dissector of the x5 record protocol for Wireshark. Written by `./dev docs` from the record tables.
--
--     wireshark -X lua_script:docs/x5_records.lua
--
-- Streams on TCP port 7000 are taken for it; others by "Decode As" or the preference. Filters: x5.record, x5.command,
-- x5.device, x5.enumerator, x5.name, x5.field.

-- Every record: who carries it, its id, the size of its fixed part in bytes, its fields, what follows them.
local records = {
    -- @records@
}

local x5 = Proto("x5", "x5 sonar records")
local f = {
    size = ProtoField.uint32("x5.size", "Size", base.DEC),
    time = ProtoField.string("x5.time", "Time, UTC"),
    record = ProtoField.uint32("x5.record", "Record", base.DEC),
    device = ProtoField.uint32("x5.device", "Device", base.DEC),
    enumerator = ProtoField.uint16("x5.enumerator", "Enumerator", base.DEC),
    command = ProtoField.uint32("x5.command", "Command", base.DEC),
    ticket = ProtoField.uint32("x5.ticket", "Ticket", base.DEC),
    name = ProtoField.string("x5.name", "Name"),
    field = ProtoField.string("x5.field", "Field"),
    payload = ProtoField.bytes("x5.payload", "Payload"),
}
x5.fields = { f.size, f.time, f.record, f.device, f.enumerator, f.command, f.ticket, f.name, f.field, f.payload }
x5.prefs.port = Pref.uint("TCP port", 7000, "The port that the sonar listens on")

local headerSize, trailerSize, commandSize = 64, 4, 24
local greatestSize = 134217728 -- a frame that claims more is damaged
local remoteControl, passedOn = 7500, 90002

local function textOf(range)
    local text = range:string(ENC_UTF_8)
    local stop = text:find("\0", 1, true)
    return stop and text:sub(1, stop - 1) or text
end

local function timeOf(range)
    return string.format("%d, day %d, %02d:%02d:%06.3f", range(0, 2):le_uint(), range(2, 2):le_uint(),
        range(8, 1):le_uint(), range(9, 1):le_uint(), range(4, 4):le_float())
end

local function numberText(value)
    return string.format("%.9g", value)
end

-- The field's number, or nil, and its text. Words are little-endian, so a bit lies in byte bit / 8 whatever its word.
local function valueOf(range, field)
    local wire = field.wire
    if wire == "f32" or wire == "f64" then
        local value = range:le_float()
        return value, numberText(value)
    elseif wire == "text" then
        return nil, '"' .. textOf(range) .. '"'
    elseif wire == "time" then
        return nil, timeOf(range)
    elseif wire == "i32" then
        local value = range:le_int()
        return value, tostring(value)
    elseif field.bit then
        local value = 0
        for i = field.bits - 1, 0, -1 do
            local bit = field.bit + i
            local byte = range(math.floor(bit / 8), 1):uint()
            value = value * 2 + math.floor(byte / 2 ^ (bit % 8)) % 2
        end
        return value, string.format("%d", value)
    end
    local value = range:le_uint()
    return value, tostring(value)
end

local function withUnit(text, unit)
    return (unit and unit ~= "") and (text .. " " .. unit) or text
end

local function addFields(tree, range, fields)
    for _, field in ipairs(fields) do
        if field.at + field.width <= range:len() then
            local part = range(field.at, field.width)
            local value, text = valueOf(part, field)
            text = withUnit(text, field.unit)
            if field.factor and value then
                text = withUnit(string.format("%.7g", value * field.factor), field.keyUnit) .. "  (wire " .. text .. ")"
            elseif field.remark then
                text = text .. "  (" .. field.remark .. ")"
            end
            tree:add(f.field, part, field.name):set_text(field.name .. " = " .. text)
        end
    end
end

-- The whole number that the record tells under that name.
local function countOf(range, record, name)
    for _, field in ipairs(record.fields) do
        if field.name == name then
            return range(field.at, field.width):le_uint()
        end
    end
end

-- Each array in one line: its numbers where they are few, else how many there are.
local function addArrays(tree, range, record)
    local at = record.size
    for _, array in ipairs(record.arrays) do
        local count, rows = countOf(range, record, array.count), array.rows and countOf(range, record, array.rows)
        local size = count * (rows or 1) * array.width
        if at + size > range:len() then
            tree:add(x5, range, "arrays that are not whole")
            return
        end
        local text = (rows and (rows .. " x ") or "") .. count .. " numbers"
        if size <= 8 * array.width then
            local numbers = {}
            for i = 0, size / array.width - 1 do
                local _, number = valueOf(range(at + i * array.width, array.width), array)
                numbers[#numbers + 1] = number
            end
            text = "[" .. table.concat(numbers, ", ") .. "]"
        end
        text = array.name .. " = " .. withUnit(text, array.unit)
        if size > 0 then
            tree:add(f.field, range(at, size), array.name):set_text(text)
        else
            tree:add(f.field, range, array.name):set_text(text)
        end
        at = at + size
    end
end

local function addTail(tree, range, record)
    local begin = record.size
    if record.tail == "none" or range:len() <= begin then
        return
    end
    local rest = range(begin)
    if record.tail == "items" then
        local count = math.floor(rest:len() / record.itemSize)
        for i = 0, count - 1 do
            local part = rest(i * record.itemSize, record.itemSize)
            addFields(tree:add(x5, part, string.format("item %d", i)), part, record.items)
        end
    elseif record.tail == "text" then
        tree:add(f.field, rest, record.tailName):set_text(record.tailName .. ' = "' .. textOf(rest) .. '"')
    elseif record.tail == "arrays" then
        addArrays(tree, range, record)
    elseif record.tail == "bytes" then
        tree:add(f.payload, rest)
    else
        local width = record.tail == "u16" and 2 or 4
        for i = 0, math.floor(rest:len() / width) - 1 do
            local part = rest(i * width, width)
            local value = record.tail == "i32" and part:le_int() or part:le_uint()
            tree:add(f.field, part, record.tailName):set_text(string.format("%s[%d] = %d", record.tailName, i, value))
        end
    end
end

-- Whether the payload carries the record's constants, which tell forms of one id apart.
local function carriesConstants(range, record)
    for _, field in ipairs(record.fields) do
        if field.constant then
            if field.at + field.width > range:len() then
                return false
            end
            if valueOf(range(field.at, field.width), field) ~= field.constant then
                return false
            end
        end
    end
    return true
end

-- The form whose size is the payload's, else the largest that it holds, else the first.
local function bestOf(carrier, id, size, range, anyConstants)
    local first, largest
    for _, record in ipairs(records) do
        if record.carrier == carrier and record.id == id
            and (anyConstants or not range or carriesConstants(range, record)) then
            first = first or record
            if record.size == size and record.tail == "none" then
                return record
            end
            if record.size <= size and (not largest or record.size > largest.size) then
                largest = record
            end
        end
    end
    return largest or first
end

local function findRecord(carrier, id, size, range)
    local record = bestOf(carrier, id, size, range, false) or bestOf(carrier, id, size, range, true)
    if not record and carrier == "passed" then
        return findRecord("command", id, size, range)
    end
    return record
end

local addPayload

local function addCommand(tree, info, carrier, id, range)
    local record = findRecord(carrier, id, range and range:len() or 0, range)
    local name = record and record.name or "unknown"
    info.cols.info:append(string.format("%d %s  ", id, name))
    tree:append_text(string.format(", %d %s", id, name))
    if range then
        tree:add(f.name, range, name):set_generated()
        addPayload(tree, info, range, record)
        if carrier == "command" and id == passedOn and range:len() >= 16 then
            local inner = range(8, 4):le_uint()
            local branch = tree:add(x5, range, "passed on")
            branch:add_le(f.command, range(8, 4))
            addCommand(branch, info, "passed", inner, range:len() > 16 and range(16) or nil)
        end
    end
end

addPayload = function(tree, _, range, record)
    if not record then
        tree:add(f.payload, range)
        return
    end
    addFields(tree, range, record.fields)
    addTail(tree, range, record)
end

local function dissectFrame(tvb, info, root)
    local size = tvb:len()
    info.cols.protocol = "x5"
    local tree = root:add(x5, tvb(), "x5 record")
    local id = tvb(32, 4):le_uint()
    tree:add_le(f.size, tvb(8, 4))
    tree:add(f.time, tvb(20, 10), timeOf(tvb(20, 10)))
    tree:add_le(f.record, tvb(32, 4))
    tree:add_le(f.device, tvb(36, 4))
    tree:add_le(f.enumerator, tvb(42, 2))
    local dataSize = size - headerSize - trailerSize
    if id == remoteControl and dataSize >= commandSize then
        local command = tvb(headerSize, 4):le_uint()
        tree:add_le(f.command, tvb(headerSize, 4))
        tree:add_le(f.ticket, tvb(headerSize + 4, 4))
        local payload = dataSize > commandSize and tvb(headerSize + commandSize, dataSize - commandSize) or nil
        addCommand(tree, info, "command", command, payload)
    else
        addCommand(tree, info, "data", id, dataSize > 0 and tvb(headerSize, dataSize) or nil)
    end
    return size
end

local function frameSize(tvb, _, offset)
    local isFrame = tvb(offset, 2):le_uint() == 5 and tvb(offset + 2, 2):le_uint() == 60
        and tvb(offset + 4, 4):le_uint() == 0xFFFF
    local size = tvb(offset + 8, 4):le_uint()
    if isFrame and size >= headerSize + trailerSize and size <= greatestSize then
        return size
    end
    return tvb:len() - offset -- no frame: to the end of what is there
end

function x5.dissector(tvb, info, root)
    info.cols.info:clear()
    dissect_tcp_pdus(tvb, root, 12, frameSize, function(part, partInfo, partRoot)
        if part:len() >= headerSize + trailerSize and part(0, 2):le_uint() == 5 and part(4, 4):le_uint() == 0xFFFF then
            return dissectFrame(part, partInfo, partRoot)
        end
        partRoot:add(x5, part(), "bytes that are no x5 record")
        return part:len()
    end)
    return tvb:len()
end

local tcpPorts = DissectorTable.get("tcp.port")
local port = x5.prefs.port
tcpPorts:add(port, x5)

function x5.prefs_changed()
    if port ~= x5.prefs.port then
        tcpPorts:remove(port, x5)
        port = x5.prefs.port
        tcpPorts:add(port, x5)
    end
end
