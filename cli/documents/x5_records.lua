-- A dissector of the x5 record protocol for Wireshark. Written by `./dev docs` from the record tables.
--
--     wireshark -X lua_script:docs/x5_records.lua
--     tshark -r capture.pcapng -X lua_script:docs/x5_records.lua -Y 'x5.range > 40' -T fields -e x5.range
--     tshark -q -r capture.pcapng -X lua_script:docs/x5_records.lua -X lua_script1:records
--
-- Streams on TCP port 7000 are taken for it, those on other ports as soon as one begins with a record, or by "Decode As"
-- or the preference. Each key's value is a field: x5.range, x5.depth_gate_tilt, in the operator's unit; what records
-- carry beside keys has the record's name before its own: x5.detections.ping_number. `tshark -G fields` lists them all.
-- With the argument "records" it prints at the end how many records of each number went which way.

local arguments = { ... }

local function wholeText(value)
    return string.format("%.0f", value)
end

-- Statistics, by "-X lua_script1:records".

local function countRecords()
    local fieldOf = {}
    for _, name in ipairs({ "number", "name", "size", "to_sonar", "skipped" }) do
        fieldOf[name] = Field.new("x5." .. name)
    end
    local listener = Listener.new("frame", "x5")
    local rows, skipped = {}, 0

    function listener.reset()
        rows, skipped = {}, 0
    end

    function listener.packet(info)
        local numbers, names = { fieldOf.number() }, { fieldOf.name() }
        local sizes, ways = { fieldOf.size() }, { fieldOf.to_sonar() }
        for i, number in ipairs(numbers) do
            local way = ways[i].value and "to the sonar" or "from the sonar"
            local key = way .. string.format("%010.0f", number.value)
            local row = rows[key]
            if not row then
                row = { key = key, way = way, number = number.value, name = names[i].value, count = 0, bytes = 0,
                    first = info.rel_ts }
                rows[key] = row
            end
            row.count = row.count + 1
            row.bytes = row.bytes + sizes[i].value
            row.last = info.rel_ts
        end
        for _, part in ipairs({ fieldOf.skipped() }) do
            skipped = skipped + part.len
        end
    end

    function listener.draw()
        local sorted = {}
        for _, row in pairs(rows) do
            sorted[#sorted + 1] = row
        end
        table.sort(sorted, function(a, b)
            return a.key > b.key
        end)
        local form = "%-14s  %6s  %-40s  %8s  %12s  %12s  %12s"
        print(string.format(form, "way", "number", "record", "records", "bytes", "first, s", "last, s"))
        for _, row in ipairs(sorted) do
            print(string.format(form, row.way, wholeText(row.number), row.name, wholeText(row.count),
                wholeText(row.bytes), string.format("%.6f", row.first), string.format("%.6f", row.last)))
        end
        print("bytes that belong to no record: " .. wholeText(skipped))
    end
end

local function countWhereAsked()
    for _, argument in ipairs(arguments) do
        if argument == "records" then
            countRecords()
        end
    end
end

-- Wireshark loads an installation's copy by itself, and a protocol is there once.
if Dissector.get("x5") then
    countWhereAsked()
    return
end

-- Every field: the name that it is filtered by, what it holds, what it is called, its unit, what it means; `key` where it
-- is a key's value.
local definitions = {
    -- @fields@
}

-- Every record: who carries it, its id, the size of its fixed part in bytes, its fields, what follows them.
local records = {
    -- @records@
}

local x5 = Proto("x5", "x5 sonar records")

local function newField(definition)
    local name, title, unit = "x5." .. definition.name, definition.title, definition.unit
    local meaning = (definition.meaning or title) .. (unit and " [" .. unit .. "]" or "")
    local kind = definition.kind
    if kind == "none" then
        return ProtoField.none(name, title, meaning)
    elseif kind == "bool" then
        return ProtoField.bool(name, title, base.NONE, nil, nil, meaning)
    elseif kind == "string" then
        return ProtoField.string(name, title, base.UNICODE, meaning)
    elseif kind == "bytes" then
        return ProtoField.bytes(name, title, base.NONE, meaning)
    elseif kind == "absolute_time" then
        return ProtoField.absolute_time(name, title, base.UTC, meaning)
    elseif kind == "double" then
        if unit then
            return ProtoField.double(name, title, { " " .. unit }, meaning)
        end
        return ProtoField.double(name, title, meaning)
    elseif unit then
        return ProtoField[kind](name, title, base.UNIT_STRING, { " " .. unit }, nil, meaning)
    end
    return ProtoField[kind](name, title, base.DEC, nil, nil, meaning)
end

local f = {} -- of Wireshark, by name
local kindOf = {} -- what the field of that name holds
local definitionOfKey = {} -- by the key's text
do
    local all = {}
    for i, definition in ipairs(definitions) do
        all[i] = newField(definition)
        f[definition.name] = all[i]
        kindOf[definition.name] = definition.kind
        if definition.key then
            definitionOfKey[definition.title] = definition
        end
    end
    x5.fields = all
end

local damage = {
    skipped = ProtoExpert.new("x5.damage.skipped", "Bytes that belong to no record",
        expert.group.MALFORMED, expert.severity.ERROR),
    frame = ProtoExpert.new("x5.damage.frame", "A record that does not end where it says",
        expert.group.MALFORMED, expert.severity.ERROR),
    size = ProtoExpert.new("x5.damage.size", "A record of another size than its number has",
        expert.group.MALFORMED, expert.severity.WARN),
    content = ProtoExpert.new("x5.damage.content", "Contents that are not whole",
        expert.group.MALFORMED, expert.severity.ERROR),
    time = ProtoExpert.new("x5.damage.time", "A time that is none",
        expert.group.PROTOCOL, expert.severity.WARN),
    cut = ProtoExpert.new("x5.damage.cut", "A record that was not captured whole",
        expert.group.MALFORMED, expert.severity.WARN),
    unknown = ProtoExpert.new("x5.unknown", "A record that no table has",
        expert.group.UNDECODED, expert.severity.NOTE),
}
do
    local all = {}
    for _, kind in pairs(damage) do
        all[#all + 1] = kind
    end
    x5.experts = all
end

x5.prefs.port = Pref.uint("TCP port", 7000, "The port that the sonar listens on")

local headerSize, trailerSize, commandSize = 64, 4, 24
local greatestSize = 134217728 -- a frame that claims more is damaged
local remoteControl, passedOn, attributeTree = 7500, 90002, 90010
local frameStart = "\5\0\60\0\255\255\0\0" -- version, offset of the data, sync word
local deepestTree, mostNodes = 200, 100000
local mostNumbers = 2048 -- of one array that become fields; of more only their number and range are told
local mostListed = 8 -- of one array that stand in its line
local mostAwaited = 65536 -- bytes of a record that are waited for without looking what has come instead

-- The tree's items under their own names.

local function addItem(tree, name, range, value, text)
    local item
    if value == nil then
        item = tree:add(f[name], range)
    else
        item = tree:add(f[name], range, value)
    end
    if text then
        item:set_text(text)
    end
    return item
end

-- A part of bytes that there are; Wireshark has no empty one at their very end.
local function partOf(range, at, size)
    return range(size == 0 and math.min(at, range:len() - 1) or at, size)
end

local function withUnit(text, unit)
    return (unit and unit ~= "") and (text .. " " .. unit) or text
end

-- Numbers.

-- The power of two that the last bit of a float of this size counts.
local function lastBit(magnitude)
    local exponent = math.floor(math.log(magnitude) / math.log(2))
    while 2 ^ exponent > magnitude do
        exponent = exponent - 1
    end
    while 2 ^ (exponent + 1) <= magnitude do
        exponent = exponent + 1
    end
    return 2 ^ (math.max(exponent, -126) - 23)
end

-- To single precision, nearest even.
local function single(value)
    local magnitude = math.abs(value)
    if value ~= value or magnitude == 0 or magnitude == math.huge then
        return value
    end
    local step = lastBit(magnitude)
    local count = magnitude / step
    local whole = math.floor(count)
    local rest = count - whole
    if rest > 0.5 or (rest == 0.5 and whole % 2 == 1) then
        whole = whole + 1
    end
    local rounded = whole * step
    if rounded >= 2 ^ 128 then
        rounded = math.huge
    end
    return value < 0 and -rounded or rounded
end

-- The shortest text that reads back to the same number.
local function doubleText(value)
    if value ~= value then
        return "nan"
    elseif value == math.huge or value == -math.huge then
        return value > 0 and "inf" or "-inf"
    end
    for digits = 15, 16 do
        local text = string.format("%." .. digits .. "g", value)
        if tonumber(text) == value then
            return text
        end
    end
    return string.format("%.17g", value)
end

-- The number that people write for a float: 0.1 and not 0.100000001490116. Its text is then that of doubleText.
local function asWritten(value)
    if value ~= value or value == 0 or value == math.huge or value == -math.huge then
        return value
    end
    for digits = 6, 8 do
        local written = tonumber(string.format("%." .. digits .. "g", value))
        if single(written) == value then
            return written
        end
    end
    return tonumber(string.format("%.9g", value))
end

local function toSigned(value)
    value = value % 4294967296
    return value >= 2147483648 and value - 4294967296 or value
end

local function truncated(value)
    if value ~= value then
        return 0
    end
    value = value < 0 and math.ceil(value) or math.floor(value)
    return math.max(-2147483648, math.min(2147483647, value))
end

-- Moments.

-- Days from 1970-01-01 to the first of January.
local function daysBefore(year)
    local past = year - 1
    return past * 365 + math.floor(past / 4) - math.floor(past / 100) + math.floor(past / 400) - 719162
end

local function momentOf(seconds)
    local whole = math.floor(seconds)
    local nanoseconds = math.floor((seconds - whole) * 1e9 + 0.5)
    if nanoseconds >= 1e9 then
        whole, nanoseconds = whole + 1, 0
    end
    return NSTime.new(whole, nanoseconds)
end

-- Of a time stamp: a moment, or nothing and why; nothing at all for the zero stamp.
local function momentOfStamp(range)
    local year, day = range(0, 2):le_uint(), range(2, 2):le_uint()
    local seconds, hour, minute = range(4, 4):le_float(), range(8, 1):uint(), range(9, 1):uint()
    if year == 0 and day == 0 and seconds == 0 and hour == 0 and minute == 0 then
        return nil
    end
    local isLeap = year % 4 == 0 and (year % 100 ~= 0 or year % 400 == 0)
    local isTime = year >= 1 and year <= 9999 and day >= 1 and day <= (isLeap and 366 or 365) and hour < 24
        and minute < 60 and seconds >= 0 and seconds <= 60
    if not isTime then
        return nil, string.format("year %d, day %d, %02d:%02d:%g", year, day, hour, minute, seconds)
    end
    local whole = ((daysBefore(year) + day - 1) * 24 + hour) * 3600 + minute * 60
    local moment = momentOf(asWritten(seconds))
    return NSTime.new(whole + moment.secs, moment.nsecs)
end

local function addStamp(tree, name, range, title)
    local moment, why = momentOfStamp(range)
    if moment then
        addItem(tree, name, range, moment)
    elseif why then
        tree:add(f.note, range, title):set_text(title .. ": invalid time")
            :add_proto_expert_info(damage.time, title .. " is no time: " .. why)
    else
        tree:add(f.note, range, title):set_text(title .. ": no time")
    end
end

-- Fields.

local function textOf(range)
    if range:len() == 0 then
        return ""
    end
    local text = range:string(ENC_UTF_8)
    local stop = text:find("\0", 1, true)
    return stop and text:sub(1, stop - 1) or text
end

-- From the number on the wire to the key's; whole numbers that this brings out of their range are brought back into it.
local conversions = {
    radians = function(value)
        return single(value * 180 / math.pi)
    end,
    negated_radians = function(value)
        return -single(value * 180 / math.pi)
    end,
    negated = function(value)
        return -value
    end,
    times_thousand = function(value)
        return value / 1000
    end,
    thousandth = function(value)
        return value * 1000
    end,
    times_twenty = function(value)
        return math.floor(value / 20)
    end,
    fifth_of_float = function(value)
        return truncated(value < 0 and math.ceil(value * 5 - 0.5) or math.floor(value * 5 + 0.5))
    end,
    truncated = function(value)
        return value
    end,
    set_when_zero = function(value)
        return value ~= 0 and 0 or 1
    end,
    set_when_one = function(value)
        return value
    end,
    plus_one = function(value)
        return value - 1
    end,
}

-- The number that lies there, and its text; a bit is 0 or 1. Words are little-endian, so a bit lies in byte bit / 8
-- whatever its word.
local function numberOf(range, field)
    local wire = field.wire
    if wire == "f32" then
        local value = range:le_float()
        return value, doubleText(asWritten(value))
    elseif wire == "f64" then
        local value = range:le_float()
        return value, doubleText(value)
    elseif wire == "i32" then
        local value = range:le_int()
        return value, wholeText(value)
    elseif field.bit then
        local value = 0
        for i = field.bits - 1, 0, -1 do
            local bit = field.bit + i
            local byte = range(math.floor(bit / 8), 1):uint()
            value = value * 2 + math.floor(byte / 2 ^ (bit % 8)) % 2
        end
        return value, wire == "bit" and (value ~= 0 and "true" or "false") or wholeText(value)
    end
    local value = range:le_uint()
    return value, wholeText(value)
end

-- Adds a number as what the field of that name holds; gives the item and the number's text.
local function addNumber(tree, name, range, value)
    local kind = kindOf[name]
    if kind == "bool" then
        return addItem(tree, name, range, value ~= 0), value ~= 0 and "true" or "false"
    elseif kind == "double" then
        return addItem(tree, name, range, value), doubleText(value)
    elseif kind == "int64" then
        return addItem(tree, name, range, Int64.new(value)), wholeText(value)
    end
    value = kind == "int32" and toSigned(value) or value % 4294967296
    return addItem(tree, name, range, value), wholeText(value)
end

local function addField(tree, range, field)
    if field.wire == "time" then
        addStamp(tree, field.field, range, field.name)
        return
    elseif field.wire == "text" then
        local text = textOf(range)
        local shown = '"' .. text .. '"'
        addItem(tree, field.field, range, text,
            field.name .. " = " .. (field.convert == "computed" and "(wire " .. shown .. ")" or shown))
        return
    end
    local number, text = numberOf(range, field)
    text = withUnit(text, field.unit)
    if field.convert == "computed" then
        addNumber(tree, field.field, range, number):set_text(field.name .. " = (wire " .. text .. ")")
        return
    end
    local value = field.convert and conversions[field.convert](number) or number
    if field.wire == "f32" and kindOf[field.field] == "double" then
        value = asWritten(single(value))
    end
    local item, valueText = addNumber(tree, field.field, range, value)
    if field.convert then
        item:set_text(field.name .. " = " .. withUnit(valueText, field.keyUnit) .. "  (wire " .. text .. ")")
    else
        item:set_text(field.name .. " = " .. withUnit(valueText, field.unit))
    end
end

local function addFields(tree, range, fields)
    for _, field in ipairs(fields) do
        if field.at + field.width <= range:len() then
            addField(tree, range(field.at, field.width), field)
        end
    end
end

-- Attribute trees.

-- Takes numbers and texts from the front of the bytes; `damage` says what was wrong first, and all that is read then is
-- nothing.
local Reader = {}
Reader.__index = Reader

function Reader.new(range, at)
    return setmetatable({ range = range, at = at, size = range:len() }, Reader)
end

function Reader:fail(what)
    self.damage = self.damage or (what .. " at byte " .. wholeText(self.at))
end

function Reader:take(size)
    if self.damage then
        return nil
    elseif size > self.size - self.at then
        self:fail("the bytes end early")
        return nil
    end
    local part = partOf(self.range, self.at, size)
    self.at = self.at + size
    return part
end

function Reader:u8()
    local part = self:take(1)
    return part and part:uint() or 0
end

function Reader:u32()
    local part = self:take(4)
    return part and part:le_uint() or 0
end

-- How many things of at least `width` bytes follow.
function Reader:count(width)
    local count = self:u32()
    if count * width > self.size - self.at then
        self:fail("a count that the bytes cannot hold")
        return 0
    end
    return count
end

function Reader:text()
    local part = self:take(self:count(1))
    return part and part:len() > 0 and part:string(ENC_UTF_8) or ""
end

local function listText(texts)
    return "[" .. table.concat(texts, ", ") .. "]"
end

local function tupleText(texts)
    return "(" .. table.concat(texts, ", ") .. ")"
end

local function takeDoubles(reader, count)
    local values, texts = {}, {}
    for i = 1, count do
        local part = reader:take(8)
        if not part then
            break
        end
        values[i] = part:le_float()
        texts[i] = doubleText(values[i])
    end
    return values, texts
end

local function takeIntegers(reader, count)
    local values, texts = {}, {}
    for i = 1, count do
        local part = reader:take(4)
        if not part then
            break
        end
        values[i] = part:le_int()
        texts[i] = wholeText(values[i])
    end
    return values, texts
end

-- By the kind's number in a tree: its name, and what reads a value: its numbers or its text, and it as text.
local valueKinds = {
    [0] = { "none", function()
        return {}, ""
    end },
    { "int", function(reader)
        local values, texts = takeIntegers(reader, 1)
        return values, texts[1]
    end },
    { "uint", function(reader)
        local value = reader:u32()
        return { value }, wholeText(value)
    end },
    { "bool", function(reader)
        local value = reader:u8()
        if value > 1 then
            reader:fail("a bool that is neither 0 nor 1")
        end
        return { value }, value ~= 0 and "true" or "false"
    end },
    { "double", function(reader)
        local values, texts = takeDoubles(reader, 1)
        return values, texts[1]
    end },
    { "pair", function(reader)
        local values, texts = takeDoubles(reader, 2)
        return values, tupleText(texts)
    end },
    { "string", function(reader)
        local text = reader:text()
        return text, text
    end },
    { "ints", function(reader)
        local values, texts = takeIntegers(reader, reader:count(4))
        return values, listText(texts)
    end },
    { "doubles", function(reader)
        local values, texts = takeDoubles(reader, reader:count(8))
        return values, listText(texts)
    end },
    { "offset", function(reader)
        local values, texts = takeDoubles(reader, 3)
        return values, tupleText(texts)
    end },
    { "int64", function(reader)
        local part = reader:take(8)
        local value = part and part:le_int64() or Int64.new(0)
        return value, tostring(value)
    end },
}

local isWholeKind = { int32 = true, uint32 = true, int64 = true }

-- Adds a value of the tree under the field of its key, as far as that can hold it.
local function addValueOfKey(tree, definition, range, kind, values)
    local name, holds = definition.name, definition.kind
    if holds == "none" then
        addItem(tree, name, range)
        return
    elseif kind == "string" then
        if holds == "string" then
            addItem(tree, name, range, values, definition.title .. ' = "' .. values .. '"')
        end
        return
    elseif holds == "string" or holds == "bytes" then
        return
    elseif kind == "int64" then
        if holds == "int64" then
            addItem(tree, name, range, values, definition.title .. " = " .. tostring(values))
            return
        end
        values = { values:tonumber() }
    end
    for _, value in ipairs(values) do
        local isWhole = value == math.floor(value)
        local fits = not isWholeKind[holds] or (isWhole and math.abs(value) <= 2 ^ 53
            and (holds ~= "int32" or math.abs(value) <= 2147483647 or value == -2147483648)
            and (holds ~= "uint32" or (value >= 0 and value <= 4294967295)))
        if holds == "absolute_time" then
            if value == value and math.abs(value) < 2 ^ 40 then
                addItem(tree, name, range, momentOf(value))
            end
        elseif fits then
            local item, text = addNumber(tree, name, range, value)
            item:set_text(definition.title .. " = " .. withUnit(text, definition.unit))
        end
    end
end

local function addNodes(tree, reader, path, depth, left)
    local count = reader:count(9) -- an empty key, no value, no children
    if count > 0 and depth > deepestTree then
        reader:fail("the tree is too deep")
    elseif count > left.nodes then
        reader:fail("the tree has too many nodes")
    end
    left.nodes = left.nodes - count
    for _ = 1, count do
        if reader.damage then
            return
        end
        local begin = reader.at
        local key = reader:text()
        local number = reader:u8()
        local kind = valueKinds[number]
        if not kind then
            reader:fail("an unknown kind of value")
            return
        end
        local valueAt = reader.at
        local values, text = kind[2](reader)
        if reader.damage then
            return
        end
        local nodePath = path .. key
        local definition = definitionOfKey[key]
        local node = addItem(tree, "attribute.path", reader.range(begin, reader.at - begin), nodePath)
        local valueRange = partOf(reader.range, valueAt, reader.at - valueAt)
        local shown = kind[1] == "string" and '"' .. text .. '"' or text
        node:set_text(number == 0 and key or key .. " = " .. withUnit(shown, definition and definition.unit))
        addItem(node, "attribute.kind", reader.range(valueAt - 1, 1), kind[1])
        addItem(node, "attribute.value", valueRange, text)
        if definition then
            addValueOfKey(node, definition, valueRange, kind[1], values)
        end
        addNodes(node, reader, nodePath .. "/", depth + 1, left)
    end
end

local function addTree(tree, range)
    local reader = Reader.new(range, 0)
    if reader:u32() ~= 1 then
        reader:fail("an unknown version")
    end
    addNodes(tree, reader, "", 1, { nodes = mostNodes })
    if reader.at ~= reader.size then
        reader:fail("bytes after the tree")
    end
    return reader.damage
end

-- What follows the fixed fields.

-- The whole number that the record tells under that name.
local function countOf(range, record, name)
    for _, field in ipairs(record.fields) do
        if field.name == name then
            return range(field.at, field.width):le_uint()
        end
    end
end

-- The least and the greatest number of an array, as text; nothing of no numbers.
local function rangeText(range, array)
    local least, greatest
    if array.wire == "u8" then
        local bytes = range:raw()
        for i = 1, #bytes, 100 do
            local last = math.min(i + 99, #bytes)
            least = math.min(least or 255, bytes:byte(i, last))
            greatest = math.max(greatest or 0, bytes:byte(i, last))
        end
    else
        for at = 0, range:len() - 1, array.width do
            local value = numberOf(range(at, array.width), array)
            if value == value then
                least = math.min(least or value, value)
                greatest = math.max(greatest or value, value)
            end
        end
    end
    if not least then
        return ""
    end
    local asText = function(value)
        return doubleText(array.wire == "f32" and asWritten(value) or value)
    end
    return " from " .. asText(least) .. " to " .. asText(greatest)
end

-- Each array in one line, its numbers where they are few, else how many there are and from where to where; below it
-- each number as a field. Of many rows the bytes are the field.
local function addArray(tree, range, array, count, rows)
    local size = count * (rows or 1) * array.width
    local line = array.name .. " = "
    local isWanted = tree:referenced(f[array.field])
    if size <= mostListed * array.width then
        local numbers = {}
        for at = 0, size - 1, array.width do
            local _, number = numberOf(range(at, array.width), array)
            numbers[#numbers + 1] = number
        end
        line = line .. listText(numbers)
    else
        line = line .. (rows and (wholeText(rows) .. " x ") or "") .. wholeText(count) .. " numbers"
        if isWanted or tree:referenced(f.note) then
            line = line .. rangeText(range, array)
        end
    end
    line = withUnit(line, array.unit)
    local branch = addItem(tree, "note", range, line, line)
    if not isWanted or size == 0 then
        return
    elseif rows then
        addItem(branch, array.field, range)
    elseif count <= mostNumbers then
        for i = 0, count - 1 do
            local part = range(i * array.width, array.width)
            local value = numberOf(part, array)
            local item, text = addNumber(branch, array.field, part, array.wire == "f32" and asWritten(value) or value)
            item:set_text(string.format("%s[%d] = %s", array.name, i, withUnit(text, array.unit)))
        end
    end
end

-- What is wrong with the arrays; nothing where they are whole.
local function addArrays(tree, range, record)
    local at = record.size
    for _, array in ipairs(record.arrays) do
        local count, rows = countOf(range, record, array.count), array.rows and countOf(range, record, array.rows)
        local size = count * (rows or 1) * array.width
        if size > range:len() - at then
            return "the array " .. array.name .. " is not whole"
        end
        addArray(tree, partOf(range, at, size), array, count, rows)
        at = at + size
    end
    if at ~= range:len() then
        return wholeText(range:len() - at) .. " bytes after the arrays"
    end
end

local function addItems(tree, range, record)
    local name = record.tailField or "item"
    for i = 0, math.floor(range:len() / record.itemSize) - 1 do
        local part = range(i * record.itemSize, record.itemSize)
        local item = kindOf[name] == "none" and addItem(tree, name, part) or addItem(tree, name, part, i)
        item:set_text(string.format("item %d", i))
        addFields(item, part, record.items)
    end
    return range:len() % record.itemSize
end

local function addList(tree, range, record)
    local width = record.tail == "u16" and 2 or 4
    for i = 0, math.floor(range:len() / width) - 1 do
        local part = range(i * width, width)
        local item, text = addNumber(tree, record.tailField, part, numberOf(part, { wire = record.tail }))
        item:set_text(string.format("%s[%d] = %s", record.tailName, i, text))
    end
    return range:len() % width
end

-- What is wrong with what follows the fixed fields; nothing where all is well.
local function addTail(tree, range, record)
    if record.id == attributeTree then
        local wrong = addTree(tree, range)
        return wrong and "no tree: " .. wrong
    elseif record.tail == "arrays" then
        return addArrays(tree, range, record)
    end
    local rest = range:len() > record.size and range(record.size)
    local left = 0
    if not rest then
        return nil
    elseif record.tail == "none" then
        left = rest:len()
        addItem(tree, "payload", rest)
    elseif record.tail == "items" then
        left = addItems(tree, rest, record)
    elseif record.tail == "text" then
        local text = textOf(rest)
        addItem(tree, record.tailField, rest, text, record.tailName .. ' = "' .. text .. '"')
    elseif record.tail == "bytes" then
        addItem(tree, record.tailField, rest)
    else
        left = addList(tree, rest, record)
    end
    return left > 0 and wholeText(left) .. " bytes more than the record has" or nil
end

-- Records.

-- Whether the payload carries the record's constants, which tell forms of one id apart.
local function carriesConstants(range, record)
    for _, field in ipairs(record.fields) do
        if field.constant then
            if field.at + field.width > range:len() then
                return false
            end
            if numberOf(range(field.at, field.width), field) ~= field.constant then
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

local addContents

-- A command within a command, for another unit of the sonar.
local function addPassedOn(tree, info, range)
    local id, size = range(8, 4):le_uint(), range(12, 4):le_uint()
    local payload = range:len() > 16 and range(16) or nil
    local record = findRecord("passed", id, payload and payload:len() or 0, payload)
    local name = record and record.name or "unknown"
    local branch = addItem(tree, "passed_on", range, name, string.format("passed on, %d %s", id, name))
    info.cols.info:append(string.format("%d %s  ", id, name))
    branch:add_le(f.command, range(8, 4))
    if size ~= range:len() - 16 then
        branch:add_proto_expert_info(damage.content,
            string.format("says that it holds %.0f bytes and holds %d", size, range:len() - 16))
    end
    addContents(branch, info, payload, record, false)
end

-- `isCut`: not all of the record was captured.
addContents = function(tree, info, range, record, isCut)
    local size = range and range:len() or 0
    if not record then
        if range then
            addItem(tree, "payload", range)
        end
        tree:add_proto_expert_info(damage.unknown)
        return
    end
    if range then
        addFields(tree, range, record.fields)
    end
    if size < record.size then
        if not isCut then
            tree:add_proto_expert_info(damage.size,
                wholeText(record.size - size) .. " bytes fewer than the record has")
        end
        return
    end
    if not range then
        return
    end
    local wrong = addTail(tree, range, record)
    if wrong and not isCut then
        local kind = (record.id == attributeTree or record.tail == "arrays") and damage.content or damage.size
        tree:add_proto_expert_info(kind, wrong)
    end
    if record.id == passedOn and record.carrier == "command" and size >= 16 then
        addPassedOn(tree, info, range)
    end
end

-- The sonar's end has the port that is told for it, or the one that "Decode As" names, or else the lower one.
local function goesToSonar(info)
    for _, port in ipairs({ x5.prefs.port, info.match_uint }) do
        if (info.dst_port == port) ~= (info.src_port == port) then
            return info.dst_port == port
        end
    end
    return info.dst_port < info.src_port
end

-- `size` is what the frame says; the bytes of one that was not captured whole are fewer. At least its header is there.
local function addFrame(tvb, info, root, size)
    local tree = root:add(x5, tvb(), "x5 record")
    local isCut = tvb:len() < size
    local id = tvb(32, 4):le_uint()
    tree:add_le(f.version, tvb(0, 2))
    tree:add_le(f.size, tvb(8, 4))
    addStamp(tree, "time", tvb(20, 10), "Time")
    tree:add_le(f.record_version, tvb(30, 2))
    tree:add_le(f.record, tvb(32, 4))
    tree:add_le(f.device, tvb(36, 4))
    tree:add_le(f.enumerator, tvb(42, 2))
    local stop = math.min(tvb:len(), size - trailerSize)
    local begin, carrier, number = headerSize, "data", id
    if id == remoteControl and stop - begin >= commandSize then
        carrier, number = "command", tvb(begin, 4):le_uint()
        tree:add_le(f.command, tvb(begin, 4))
        tree:add_le(f.ticket, tvb(begin + 4, 4))
        tree:add(f.tracking_number, tvb(begin + 8, 16))
        begin = begin + commandSize
    end
    local payload = stop > begin and tvb(begin, stop - begin) or nil
    local record = findRecord(carrier, number, payload and payload:len() or 0, payload)
    local name = record and record.name or "unknown"
    addItem(tree, "number", tvb(32, 4), number):set_generated()
    addItem(tree, "name", tvb(32, 4), name):set_generated()
    addItem(tree, "to_sonar", tvb(32, 4), goesToSonar(info)):set_generated()
    tree:append_text(string.format(", %d %s", number, name))
    info.cols.protocol = "x5"
    info.cols.info:append(string.format("%d %s  ", number, name))
    if isCut then
        tree:add_proto_expert_info(damage.cut, string.format("%d of %.0f bytes were captured", tvb:len(), size))
    end
    addContents(tree, info, payload, record, isCut)
end

-- The stream.

local function addSkipped(part, info, root, kind, text)
    local tree = root:add(x5, part, "x5, " .. text)
    addItem(tree, "skipped", part)
    tree:add_proto_expert_info(kind, text)
    info.cols.protocol = "x5"
    info.cols.info:append("[" .. text .. "]  ")
end

-- The size that a frame at `offset` claims; nothing where none begins. Twelve bytes are there.
local function sizeAt(tvb, offset)
    if tvb:raw(offset, 8) ~= frameStart then
        return nil
    end
    local size = tvb(offset + 8, 4):le_uint()
    return size >= headerSize + trailerSize and size <= greatestSize and size or nil
end

-- Where the next frame may begin, from `offset` on; the end where none does. What is too short to tell counts as one.
local function nextStart(tvb, offset)
    local bytes = tvb:raw(offset)
    local at = 1
    while true do
        at = bytes:find(frameStart, at, true)
        if not at then
            break
        end
        local position = offset + at - 1
        if tvb:len() - position < 12 or sizeAt(tvb, position) then
            return position
        end
        at = at + 1
    end
    for length = math.min(#frameStart - 1, #bytes), 1, -1 do
        if bytes:sub(-length) == frameStart:sub(1, length) then
            return tvb:len() - length
        end
    end
    return tvb:len()
end

-- Whether a whole frame lies at `offset`: it ends with its trailing word, behind which nothing comes or another begins.
local function isWholeFrame(tvb, offset)
    local size = tvb:len() - offset >= 12 and sizeAt(tvb, offset)
    local stop = size and offset + size
    if not size or stop > tvb:len() or tvb(stop - trailerSize, trailerSize):uint() ~= 0 then
        return false
    end
    local behind = tvb:raw(stop, math.min(#frameStart, tvb:len() - stop))
    return behind == frameStart:sub(1, #behind)
end

-- Where a whole frame lies within the unfinished one at `offset`; nothing where none does.
local function frameInside(tvb, offset)
    local at = nextStart(tvb, offset + 1)
    while at < tvb:len() do
        if isWholeFrame(tvb, at) then
            return at
        end
        at = nextStart(tvb, at + 1)
    end
end

-- For how many more bytes of an unfinished frame it is worth waiting. What is damaged in its size must not hold back what
-- follows for long: of a long one a part is awaited that grows as it comes, of one whose size is not that of its record
-- the next segment.
local function awaited(tvb, offset, size)
    local have = tvb:len() - offset
    local head = headerSize + commandSize
    if have < head then
        return DESEGMENT_ONE_MORE_SEGMENT
    end
    local isCommand = tvb(offset + 32, 4):le_uint() == remoteControl
    local id = tvb(offset + (isCommand and headerSize or 32), 4):le_uint()
    local payload = size - trailerSize - (isCommand and head or headerSize)
    local record = findRecord(isCommand and "command" or "data", id, payload)
    if record and record.size ~= payload and (record.tail == "none" or record.size > payload) then
        return DESEGMENT_ONE_MORE_SEGMENT
    end
    return math.min(size - have, math.max(have, mostAwaited))
end

-- What stands at `offset`: shows it and gives where it ends; nothing where more has to come first, and how much.
-- `mayWait`: more may come.
local function addNext(tvb, info, root, offset, mayWait)
    local left = tvb:len() - offset
    local size = left >= 12 and sizeAt(tvb, offset)
    if not size then
        local stop = nextStart(tvb, left >= 12 and offset + 1 or offset)
        if stop == offset and mayWait then
            return nil, DESEGMENT_ONE_MORE_SEGMENT
        end
        stop = stop == offset and tvb:len() or stop
        addSkipped(tvb(offset, stop - offset), info, root, damage.skipped,
            wholeText(stop - offset) .. " bytes that belong to no record")
        return stop
    end
    if size > left then
        local inside = frameInside(tvb, offset)
        if inside then
            addSkipped(tvb(offset, inside - offset), info, root, damage.frame,
                string.format("a record of %.0f bytes that another one interrupts after %d", size, inside - offset))
            return inside
        elseif mayWait then
            addItem(root, "begins", tvb(offset), size,
                string.format("x5, a record of %.0f bytes begins, %d of them are here", size, left))
            return nil, awaited(tvb, offset, size)
        elseif left >= headerSize then
            addFrame(tvb(offset):tvb(), info, root, size)
        else
            addSkipped(tvb(offset), info, root, damage.cut, string.format("%d of %.0f bytes of a record", left, size))
        end
        return tvb:len()
    end
    if tvb(offset + size - trailerSize, trailerSize):uint() ~= 0 then
        local stop = nextStart(tvb, offset + 1)
        addSkipped(tvb(offset, stop - offset), info, root, damage.frame,
            string.format("a record of %.0f bytes that does not end there", size))
        return stop
    end
    addFrame(tvb(offset, size):tvb(), info, root, size)
    return offset + size
end

-- `canWait`: TCP puts segments together.
local function addStream(tvb, info, root, canWait)
    local mayWait = canWait and tvb:reported_len() == tvb:len()
    local offset = 0
    while offset < tvb:len() do
        if offset == 0 then
            info.cols.info:clear()
        end
        local stop, more = addNext(tvb, info, root, offset, mayWait)
        if not stop then
            info.desegment_offset = offset
            info.desegment_len = more
            break
        end
        offset = stop
    end
    return tvb:len()
end

function x5.dissector(tvb, info, root)
    return addStream(tvb, info, root, info.can_desegment ~= 0)
end

-- Which streams.

local tcpPorts = DissectorTable.get("tcp.port")
local port = x5.prefs.port
tcpPorts:add(port, x5)
tcpPorts:add_for_decode_as(x5)

function x5.prefs_changed()
    if port ~= x5.prefs.port then
        tcpPorts:remove(port, x5)
        port = x5.prefs.port
        tcpPorts:add(port, x5)
    end
end

x5:register_heuristic("tcp", function(tvb, info, root)
    if tvb:len() < 12 or not sizeAt(tvb, 0) then
        return false
    end
    info.conversation = x5
    addStream(tvb, info, root, true) -- Wireshark's word on waiting does not reach dissectors that guess
    return true
end)

countWhereAsked()
