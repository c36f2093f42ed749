
-- How the messages are shown. RECORDS, ATTRIBUTES, MESSAGES and RESULTS stand in front of this, made from the
-- descriptions. Runs with Lua 5.2 to 5.4: no operators on bits, and no function that only one of them has.

local gpon = Proto("gpon", "GPON line card message")
gpon.prefs.secrets = Pref.bool("Show passwords and keys", false, "They stand in the bytes of the capture either way")

local HEAD_MAGIC = 0x67706f6e -- "gpon": what the simulated chassis puts in front of a frame
local HEAD_SIZE = 24
local IPC_ID = 0xface01bc
local IPC_ID_SWAPPED = 0xbc01cefa
local TYPE_BASE = 19000
local MESSAGE_AT = 64
local PAYLOAD_AT = 80
local LONGEST = 28 + 2048
local SPARE = 16
local REPLY = 2

local DIRECTIONS = { [0] = "to the card", [1] = "from the card" }
local IPC_TYPES = { [0] = "one-way", [1] = "request", [2] = "reply" }
local TOPICS = { [1] = "request or reply", [2] = "one-way" }
local ACTIONS = { [1] = "create", [2] = "delete", [3] = "set", [4] = "get", [5] = "get current" }
local MESSAGE_NAMES = {}
for number, message in pairs(MESSAGES) do
  MESSAGE_NAMES[number] = message.name
end

-- ---- fields -------------------------------------------------------------------------------------------------

local fields = {}

local function new_field(name, title, ftype, values, base_, about)
  local field = ProtoField.new(title, "gpon." .. name, ftype, values, base_ or base.NONE, nil, about)
  fields[#fields + 1] = field
  return field
end

-- The words of the three heads, at their offsets in the frame.
local function word(offset, size, name, values, base_, about)
  local ftype = size == 2 and ftypes.UINT16 or ftypes.UINT32
  local title = name:gsub("^.*%.", "")
  return { at = offset, size = size, name = name, title = title,
           field = new_field(name, title, ftype, values, base_ or base.DEC, about) }
end

local IPC_WORDS = {
  word(0, 4, "ipc.hdr_id", nil, base.HEX, "0xface01bc"), word(4, 4, "ipc.ipc_ver"),
  word(8, 4, "ipc.msg_type", IPC_TYPES), word(12, 4, "ipc.sender_serv_id"), word(16, 4, "ipc.sender_sub_id"),
  word(20, 4, "ipc.msg_id", nil, base.HEX, "a reply carries that of its request"), word(24, 4, "ipc.msg_num"),
}
local HAL_WORDS = {
  word(28, 4, "hal.msg_topic", TOPICS), word(32, 4, "hal.msg_op"), word(36, 4, "hal.msg_cmd", MESSAGE_NAMES),
  word(40, 4, "hal.msg_count"), word(44, 4, "hal.chg_flag"), word(48, 4, "hal.msg_len"),
  word(52, 4, "hal.ipc_hdr"), word(56, 4, "hal.retcode", RESULTS, nil, "the result, in a reply"),
  word(60, 4, "hal.padding"),
}
local MESSAGE_WORDS = {
  word(64, 4, "nl.nlmsg_len"), word(68, 2, "nl.nlmsg_type", MESSAGE_NAMES),
  word(70, 2, "nl.nlmsg_flags"), word(72, 4, "nl.nlmsg_seq"), word(76, 4, "nl.nlmsg_pid"),
}
local HEADS = {
  { title = "IPC header", at = 0, size = 28, words = IPC_WORDS },
  { title = "HAL header", at = 28, size = 36, words = HAL_WORDS },
  { title = "Message header", at = 64, size = 16, words = MESSAGE_WORDS },
}

local f = {
  direction = new_field("head.direction", "Direction", ftypes.UINT8, DIRECTIONS, base.DEC),
  slot = new_field("head.slot", "Slot of the card", ftypes.UINT8, nil, base.DEC),
  sender_type = new_field("head.sender_type", "Type of the sender's name", ftypes.UINT32, nil, base.DEC),
  sender = new_field("head.sender", "Instance of the sender's name", ftypes.UINT32, nil, base.DEC),
  receiver_type = new_field("head.receiver_type", "Type of the receiver's name", ftypes.UINT32, nil, base.DEC),
  receiver = new_field("head.receiver", "Instance of the receiver's name", ftypes.UINT32, nil, base.DEC),
  action = new_field("action", "action", ftypes.UINT32, ACTIONS, base.DEC),
  mask = new_field("mask", "mask", ftypes.UINT32, nil, base.HEX),
  attribute = new_field("attribute", "Attribute", ftypes.STRING, nil, nil, "named by a bit of the mask"),
  object = new_field("object", "Object", ftypes.STRING, nil, nil, "what an interface index stands for"),
  text = new_field("text", "Text", ftypes.STRING),
  number = new_field("word", "Word", ftypes.UINT32, nil, base.DEC),
  bytes = new_field("bytes", "Bytes", ftypes.BYTES),
  spare = new_field("spare", "Spare bytes", ftypes.BYTES, nil, nil, "counted by nlmsg_len, no part of the record"),
  reply_in = new_field("reply_in", "Reply in", ftypes.FRAMENUM),
  request_in = new_field("request_in", "Request in", ftypes.FRAMENUM),
  took = new_field("took", "Time since the request", ftypes.RELATIVE_TIME),
}

local FTYPES = {
  U8 = ftypes.UINT8, U16 = ftypes.UINT16, U32 = ftypes.UINT32, U64 = ftypes.UINT64, I32 = ftypes.INT32,
  ENUM = ftypes.INT32, IFINDEX = ftypes.UINT32, IPV4 = ftypes.IPv4, MAC = ftypes.ETHER, SERIAL = ftypes.STRING,
  TEXT = ftypes.STRING, SECRET = ftypes.STRING, BYTES = ftypes.BYTES, RECORD = ftypes.NONE,
}
local BASES = { U8 = base.DEC, U16 = base.DEC, U32 = base.DEC, U64 = base.DEC, I32 = base.DEC, ENUM = base.DEC,
                IFINDEX = base.HEX }

for _, record in pairs(RECORDS) do
  for _, field in ipairs(record.fields) do
    field.proto = new_field(record.short .. "." .. field.name, field.name, FTYPES[field.kind], field.values,
                            BASES[field.kind], field.about)
  end
end
gpon.fields = fields

-- ---- what is wrong ----------------------------------------------------------------------------------------------

local wrong = {}
local function new_expert(name, text, group, severity)
  wrong[name] = ProtoExpert.new("gpon.wrong." .. name, text, group, severity)
end
new_expert("head", "What stands in front of the frame isn't understood", expert.group.MALFORMED, expert.severity.ERROR)
new_expert("magic", "hdr_id isn't 0xface01bc", expert.group.MALFORMED, expert.severity.ERROR)
new_expert("cut", "The frame ends too early", expert.group.MALFORMED, expert.severity.ERROR)
new_expert("length", "A length is wrong", expert.group.MALFORMED, expert.severity.WARN)
new_expert("word", "A word of a header is wrong", expert.group.PROTOCOL, expert.severity.WARN)
new_expert("message", "Message without a description", expert.group.UNDECODED, expert.severity.NOTE)
new_expert("mask", "A bit of the mask stands for no attribute", expert.group.PROTOCOL, expert.severity.NOTE)
new_expert("refused", "The card has refused", expert.group.RESPONSE_CODE, expert.severity.WARN)
new_expert("unasked", "No request before it has this msg_id", expert.group.SEQUENCE, expert.severity.NOTE)
new_expert("again", "A second reply to one request", expert.group.SEQUENCE, expert.severity.WARN)
new_expert("short_reply", "The rest keeps the values of the request", expert.group.COMMENTS_GROUP,
           expert.severity.CHAT)
do
  local experts = {}
  for _, one in pairs(wrong) do
    experts[#experts + 1] = one
  end
  gpon.experts = experts
end

-- ---- numbers and texts ------------------------------------------------------------------------------------------

local function bits(value, shift, count)
  return math.floor(value / 2 ^ shift) % 2 ^ count
end

-- What prints of bytes up to the first NUL; the rest as \xNN.
local function printable(bytes)
  local text = bytes:match("^[^%z]*")
  return (text:gsub("[^\32-\91\93-\126]", function(c) return string.format("\\x%02x", c:byte()) end))
end

local PORT_KINDS = { [2] = "ge", [3] = "xe", [9] = "gpon-olt" }
local ONU_KINDS = { [10] = "", [11] = " GEM port %d", [12] = " service port %d" }

-- "gpon-onu3/1:5 GEM port 2"; nil for what is no index of these kinds.
local function object_of(index)
  local kind, slot, port = bits(index, 27, 5), bits(index, 21, 5), bits(index, 15, 4) + 1
  if PORT_KINDS[kind] then
    return string.format("%s%d/%d", PORT_KINDS[kind], slot, port)
  end
  if not ONU_KINDS[kind] then
    return nil
  end
  local onu = bits(index, 7, 8) + 1
  local below = string.format(ONU_KINDS[kind], bits(index, 0, 7) + 1)
  if slot == 31 then
    return string.format("service profile %d", onu) .. below
  end
  return string.format("gpon-onu%d/%d:%d", slot, port, onu) .. below
end

-- "slot 3" for the name of a card's agent, "daemon" for one of the daemon's.
local function end_of(service, sub_id)
  if sub_id > 10100 and sub_id < 11100 then
    return string.format("slot %d", sub_id - 10100)
  end
  if sub_id > 11100 and sub_id < 11200 then
    return service == 111 and "daemon (events)" or "daemon"
  end
  return string.format("%d/%d", service, sub_id)
end

-- ---- a frame under way --------------------------------------------------------------------------------------

-- frame: { tvb, length on the wire, sliced: not all of it was captured, pinfo, tree, little, slot, values by the
-- names of the headers' words, and what the list shows of it }
local function has(frame, at, size)
  return at >= 0 and size >= 0 and at + size <= frame.tvb:len()
end

local function number_at(frame, at, size)
  local range = frame.tvb(at, size)
  return frame.little and range:le_uint() or range:uint()
end

local function add(frame, tree, field, at, size)
  local range = frame.tvb(at, size)
  return frame.little and tree:add_le(field, range) or tree:add(field, range)
end

-- What is damaged stands in the list too.
local DAMAGES = { head = true, magic = true, cut = true, length = true, word = true }

local function complain(frame, tree, name, text)
  tree:add_proto_expert_info(wrong[name], text)
  frame.wrong = frame.wrong or DAMAGES[name] and text or nil
end

-- A frame of which not all was captured isn't wrong.
local function complain_of_end(frame, tree, what)
  if not frame.sliced then
    complain(frame, tree, "cut", "The frame ends in " .. what)
  end
end

-- ---- headers ------------------------------------------------------------------------------------------------

local function add_words(frame, head, tree)
  for _, one in ipairs(head.words) do
    if not has(frame, one.at, one.size) then
      complain_of_end(frame, tree, "the " .. head.title)
      return false
    end
    frame[one.name] = number_at(frame, one.at, one.size)
    one.item = add(frame, tree, one.field, one.at, one.size)
  end
  return true
end

local function add_head(frame, head)
  local there = math.min(head.size, frame.tvb:len() - head.at)
  if there <= 0 then
    complain_of_end(frame, frame.tree, "front of the " .. head.title)
    return false
  end
  return add_words(frame, head, frame.tree:add(gpon, frame.tvb(head.at, there), head.title))
end

local function expect(frame, name, right, kind)
  if frame[name] ~= right then
    complain(frame, frame.tree, kind, string.format("%s is %d, not %d", name:gsub("^.*%.", ""), frame[name], right))
  end
end

local function check_heads(frame)
  local size = frame.length
  expect(frame, "hal.msg_len", size - 28, "length")
  expect(frame, "nl.nlmsg_len", frame["hal.msg_len"] - 36, "length")
  if size > LONGEST then
    complain(frame, frame.tree, "length", string.format("%d bytes, more than %d", size, LONGEST))
  end
  expect(frame, "nl.nlmsg_type", frame["hal.msg_cmd"], "word")
  expect(frame, "hal.msg_count", 1, "word")
  if not IPC_TYPES[frame["ipc.msg_type"]] then
    complain(frame, frame.tree, "word", string.format("msg_type %d", frame["ipc.msg_type"]))
  end
end

-- ---- requests and their replies -------------------------------------------------------------------------------

local requests = {} -- by msg_id and card: the frame that asked last
local reply_of, request_of = {}, {} -- by the number of a frame

function gpon.init()
  requests, reply_of, request_of = {}, {}, {}
end

local function note_request(frame, key)
  requests[key] = { number = frame.pinfo.number, time = frame.pinfo.abs_ts }
end

local function note_reply(frame, key)
  local request = requests[key]
  if not request then
    return
  end
  request_of[frame.pinfo.number] = { request = request, again = reply_of[request.number] ~= nil }
  reply_of[request.number] = reply_of[request.number] or frame.pinfo.number
end

local function show_request(frame)
  local found = request_of[frame.pinfo.number]
  if not found then
    complain(frame, frame.tree, "unasked", "No request before it has this msg_id")
    return
  end
  frame.tree:add(f.request_in, found.request.number):set_generated()
  local microseconds = math.floor(math.max(0, frame.pinfo.abs_ts - found.request.time) * 1000000 + 0.5)
  local took = NSTime.new(math.floor(microseconds / 1000000), microseconds % 1000000 * 1000)
  frame.tree:add(f.took, took):set_generated()
  if found.again then
    complain(frame, frame.tree, "again", "A second reply to the request")
  end
end

local function follow_transaction(frame)
  local key = string.format("%d/%s", frame["ipc.msg_id"], tostring(frame.slot))
  local kind = frame["ipc.msg_type"]
  if not frame.pinfo.visited and kind == 1 then
    note_request(frame, key)
  elseif not frame.pinfo.visited and kind == REPLY then
    note_reply(frame, key)
  end
  if kind == REPLY then
    show_request(frame)
  elseif reply_of[frame.pinfo.number] then
    frame.tree:add(f.reply_in, reply_of[frame.pinfo.number]):set_generated()
  end
end

-- ---- records --------------------------------------------------------------------------------------------------

local add_record

-- How fields of a kind are shown, where the number or the text alone doesn't do.
local show = {}

function show.IFINDEX(frame, tree, field, at)
  local item = add(frame, tree, field.proto, at, 4)
  local object = object_of(number_at(frame, at, 4))
  if object then
    item:append_text(" (" .. object .. ")")
    item:add(f.object, frame.tvb(at, 4), object):set_generated()
    frame.object = frame.object or object
  end
  return item
end

function show.TEXT(frame, tree, field, at)
  local range = frame.tvb(at, field.size)
  local text = printable(range:raw())
  if field.name == "name" and text ~= "" then
    frame.called = frame.called or text
  end
  return tree:add(field.proto, range, text)
end

function show.SECRET(frame, tree, field, at)
  local range = frame.tvb(at, field.size)
  return tree:add(field.proto, range, gpon.prefs.secrets and printable(range:raw()) or "***")
end

function show.SERIAL(frame, tree, field, at)
  local bytes = frame.tvb(at, 8):raw()
  local text = printable(bytes:sub(1, 4))
  for i = 5, 8 do
    text = text .. string.format("%02x", bytes:byte(i))
  end
  return tree:add(field.proto, frame.tvb(at, field.size), bytes == string.rep("\0", 8) and "" or text)
end

function show.MAC(frame, tree, field, at)
  return tree:add(field.proto, frame.tvb(at, 6))
end

function show.BYTES(frame, tree, field, at)
  return tree:add(field.proto, frame.tvb(at, field.size))
end

function show.RECORD(frame, tree, field, at)
  local record = RECORDS[field.record]
  local there = math.max(0, math.min(record.size, frame.tvb:len() - at))
  local item = tree:add(field.proto, frame.tvb(at, there))
  item:set_text(field.name)
  add_record(frame, item, record, at)
  return item
end

local function show_number(frame, tree, field, at)
  local item = add(frame, tree, field.proto, at, field.size)
  local remark = field.remarks and field.remarks[number_at(frame, at, field.size)]
  if remark then
    item:append_text(" (" .. remark .. ")")
  end
  return item
end

local function add_element(frame, tree, field, at, number)
  local item = (show[field.kind] or show_number)(frame, tree, field, at)
  if field.count > 1 then
    item:prepend_text(string.format("[%d] ", number))
  end
end

-- The fields that the frame holds, whole.
function add_record(frame, tree, record, at)
  for _, field in ipairs(record.fields) do
    local size = field.record and RECORDS[field.record].size or field.size
    for number = 0, field.count - 1 do
      local place = at + field.offset + number * size
      local needed = field.record and 1 or size
      if not has(frame, place, needed) then
        return
      end
      add_element(frame, tree, field, place, number)
    end
  end
end

-- ---- action and mask ----------------------------------------------------------------------------------------------

local function names_of(message)
  if message.count and message.count > 1 then
    local names = {}
    for i = 0, message.count - 1 do
      names[i] = string.format("record %d", i)
    end
    return names
  end
  return ATTRIBUTES[message.record] or {}
end

local function add_mask(frame, tree, message, at)
  local mask = number_at(frame, at, 4)
  local item = add(frame, tree, f.mask, at, 4)
  local names, found, unknown = names_of(message), {}, {}
  for bit = 0, 31 do
    local name = bits(mask, bit, 1) == 1 and (names[bit] or false)
    if name then
      found[#found + 1] = name
      item:add(f.attribute, frame.tvb(at, 4), name):set_generated()
    elseif bits(mask, bit, 1) == 1 then
      unknown[#unknown + 1] = bit
    end
  end
  frame.attributes = table.concat(found, ", ")
  if #found > 0 then
    item:append_text(" (" .. frame.attributes .. ")")
  end
  if #unknown > 0 and next(names) then
    complain(frame, item, "mask", "Bits " .. table.concat(unknown, ", ") .. " stand for no attribute")
  end
end

-- ---- messages -------------------------------------------------------------------------------------------------

local function add_bytes(frame, tree, message, at, size)
  if message.size and message.size >= 4 and size >= message.size then
    for place = at, at + message.size - 4, 4 do
      add(frame, tree, f.number, place, 4):append_text(message.about and " (" .. message.about .. ")" or "")
    end
    return message.size
  end
  local shown = math.min(size, message.size and message.size > 0 and message.size or size)
  if shown > 0 then
    tree:add(f.bytes, frame.tvb(at, shown))
  end
  return shown
end

local function add_records(frame, tree, message, at, size)
  local record = RECORDS[message.record]
  for number = 0, message.count - 1 do
    local place = at + number * record.size
    local there = math.min(record.size, at + size - place)
    if there <= 0 then
      break
    end
    local title = message.count > 1 and string.format("%s [%d]", message.record, number) or message.record
    add_record(frame, tree:add(gpon, frame.tvb(place, there), title), record, place)
  end
  return math.min(size, message.count * record.size)
end

-- The record is cut, or more stands behind it than the spare bytes.
local function check_size(frame, message, size)
  local wanted = message.record and RECORDS[message.record].size * message.count or message.size
  if not wanted or wanted == 0 or frame.sliced then
    return
  end
  if size < wanted and frame["ipc.msg_type"] == REPLY then
    complain(frame, frame.tree, "short_reply",
             string.format("The reply leaves out %d bytes of the record", wanted - size))
  elseif size < wanted then
    complain(frame, frame.tree, "cut", string.format("%d bytes of the record are missing", wanted - size))
  elseif size > math.ceil(wanted / 4) * 4 + SPARE then
    complain(frame, frame.tree, "length", string.format("%d bytes behind the record", size - wanted))
  end
end

local DRIVER_TEXT = 936
local function add_payload(frame, number, message)
  local at = PAYLOAD_AT
  if message.action then
    if not has(frame, at, 8) then
      complain_of_end(frame, frame.tree, "action and mask")
      return
    end
    add(frame, frame.tree, f.action, at, 4)
    frame.action = number_at(frame, at, 4)
    add_mask(frame, frame.tree, message, at + 4)
    at = at + 8
  end
  local size = frame.tvb:len() - at
  check_size(frame, message, size)
  if size <= 0 then
    return
  end
  if number == DRIVER_TEXT then
    frame.called = printable(frame.tvb(at, size):raw())
    frame.tree:add(f.text, frame.tvb(at, size), frame.called)
    return
  end
  local used = (message.record and add_records or add_bytes)(frame, frame.tree, message, at, size)
  if used < size then
    frame.tree:add(f.spare, frame.tvb(at + used, size - used))
  end
end

local function add_message(frame)
  local number = frame["nl.nlmsg_type"]
  local message = MESSAGES[number]
  if message then
    add_payload(frame, number, message)
    return
  end
  complain(frame, frame.tree, "message", string.format("Message %d has no description", number))
  if frame.tvb:len() > PAYLOAD_AT then
    frame.tree:add(f.bytes, frame.tvb(PAYLOAD_AT))
  end
end

local function check_result(frame)
  local code = frame["hal.retcode"]
  if frame["ipc.msg_type"] == REPLY and code ~= 0 then
    complain(frame, frame.tree, "refused", "The card answered " .. (RESULTS[code] or tostring(code)))
  end
end

-- ---- the line of the list ---------------------------------------------------------------------------------------

local function result_text(frame)
  local code = frame["hal.retcode"]
  if code == 0 then
    return "reply: done"
  end
  return "reply: " .. (RESULTS[code] and RESULTS[code]:gsub(":.*", "") or tostring(code))
end

local function info_of(frame)
  local number = frame["nl.nlmsg_type"]
  if not number then
    return "Damaged frame"
  end
  local words = { MESSAGES[number] and MESSAGES[number].short or string.format("message %d", number) }
  if frame.action then
    words[#words + 1] = ACTIONS[frame.action] or string.format("action %d", frame.action)
  end
  words[#words + 1] = frame.object
  words[#words + 1] = frame.called and '"' .. frame.called .. '"'
  if frame.attributes and frame.attributes ~= "" then
    words[#words + 1] = "[" .. frame.attributes .. "]"
  end
  local kind = frame["ipc.msg_type"]
  words[#words + 1] = kind == REPLY and result_text(frame) or IPC_TYPES[kind]
  return table.concat(words, " ")
end

local function show_columns(frame)
  frame.pinfo.cols.protocol = "GPON"
  frame.pinfo.cols.info = info_of(frame) .. (frame.wrong and " <" .. frame.wrong .. ">" or "")
  if frame.slot then
    frame.pinfo.cols.src = frame.from
    frame.pinfo.cols.dst = frame.to
  end
end

-- ---- frames ---------------------------------------------------------------------------------------------------

-- "slot 3", "daemon" for the name in the head; an empty one isn't known.
local function name_at(tvb, at)
  local type_, instance = tvb(at, 4):uint(), tvb(at + 4, 4):uint()
  return type_ == 0 and "?" or end_of(type_ - TYPE_BASE, instance)
end

local function add_capture_head(frame, tvb, tree)
  local head = tree:add(gpon, tvb(0, HEAD_SIZE), "Capture head")
  head:add(f.direction, tvb(6, 1))
  head:add(f.slot, tvb(7, 1))
  frame.slot = tvb(7, 1):uint()
  for i, field in ipairs({ f.sender_type, f.sender, f.receiver_type, f.receiver }) do
    head:add(field, tvb(4 + 4 * i, 4))
  end
  frame.from, frame.to = name_at(tvb, 8), name_at(tvb, 16)
  head:append_text(": " .. frame.from .. " to " .. frame.to)
end

-- Which way round the numbers of a frame stand is seen by its first word.
local function is_little(tvb)
  return tvb:len() >= 4 and tvb(0, 4):uint() == IPC_ID_SWAPPED
end

local function is_frame(tvb)
  return tvb:len() >= 4 and (tvb(0, 4):uint() == IPC_ID or is_little(tvb))
end

local function dissect_frame(frame)
  frame.little = is_little(frame.tvb)
  if frame.tvb:len() >= 4 and not is_frame(frame.tvb) then
    complain(frame, frame.tree, "magic", "hdr_id isn't 0xface01bc")
  end
  for _, head in ipairs(HEADS) do
    if not add_head(frame, head) then
      return
    end
  end
  check_heads(frame)
  add_message(frame)
  check_result(frame)
  follow_transaction(frame)
end

function gpon.dissector(tvb, pinfo, tree)
  local top = tree:add(gpon, tvb())
  local frame = { tvb = tvb, length = tvb:reported_len(), pinfo = pinfo, tree = top }
  frame.sliced = tvb:len() < frame.length
  if tvb:len() >= HEAD_SIZE and tvb(0, 4):uint() == HEAD_MAGIC then
    add_capture_head(frame, tvb, top)
    frame.tvb = tvb:len() > HEAD_SIZE and tvb(HEAD_SIZE):tvb() or nil
    frame.length = frame.length - HEAD_SIZE
  elseif not is_frame(tvb) then
    complain(frame, top, "head", "Neither a frame nor what the simulated chassis puts in front of one")
  end
  if frame.tvb then
    dissect_frame(frame)
  else
    complain(frame, top, "cut", "No frame behind the capture head")
  end
  top:append_text(": " .. info_of(frame))
  show_columns(frame)
  return tvb:len()
end

-- Captures of the simulated chassis, and cards' frames on a network that carries TIPC.
DissectorTable.get("wtap_encap"):add((wtap_encaps or wtap).USER0, gpon)
pcall(function()
  gpon:register_heuristic("tipc", function(tvb, pinfo, tree)
    if not is_frame(tvb) then
      return false
    end
    gpon.dissector(tvb, pinfo, tree)
    return true
  end)
end)
