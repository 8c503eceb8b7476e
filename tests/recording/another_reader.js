// Reads a recording with a program of others: node another_reader.js MODULES FILE prints what it holds, a line a message.
"use strict";
const path = require("path");
const fs = require("fs");
const { createRequire } = require("module");
const { McapIndexedReader, McapStreamReader } = createRequire(path.join(process.argv[2], "x"))("@mcap/core");

function show(channel, schema, message) {
  console.log([channel.topic, channel.messageEncoding, schema ? schema.name : "-", message.sequence, message.logTime,
    message.publishTime, Buffer.from(message.data).toString("utf8")].join(" "));
}

async function byIndex(bytes) {
  const readable = {
    size: async () => BigInt(bytes.length),
    read: async (offset, size) => new Uint8Array(bytes.subarray(Number(offset), Number(offset + size))),
  };
  const reader = await McapIndexedReader.Initialize({ readable });
  const { messageCount, messageStartTime, messageEndTime } = reader.statistics;
  console.log(`messages ${messageCount} from ${messageStartTime} to ${messageEndTime} chunks ${reader.chunkIndexes.length}`);
  for await (const metadata of reader.readMetadata()) {
    console.log(metadata.name, [...metadata.metadata].map(([key, value]) => `${key}=${value}`).join(" "));
  }
  for await (const message of reader.readMessages()) {
    const channel = reader.channelsById.get(message.channelId);
    show(channel, reader.schemasById.get(channel.schemaId), message);
  }
}

// A file without an end: from its beginning on, as far as it goes.
function byStream(bytes) {
  const reader = new McapStreamReader({ validateCrcs: true });
  reader.append(new Uint8Array(bytes));
  const channels = new Map();
  const schemas = new Map();
  for (let record; (record = reader.nextRecord());) {
    if (record.type === "Schema") schemas.set(record.id, record);
    if (record.type === "Channel") channels.set(record.id, record);
    if (record.type === "Message") {
      const channel = channels.get(record.channelId);
      show(channel, schemas.get(channel.schemaId), record);
    }
  }
}

const bytes = fs.readFileSync(process.argv[3]);
if (bytes.subarray(-8).equals(bytes.subarray(0, 8))) {
  byIndex(bytes).catch((problem) => {
    console.error(problem.message);
    process.exit(1);
  });
} else {
  byStream(bytes);
}
