// Reads and writes Sparkplug payloads with a program of others. node another_reader.js MODULES read FILE prints what the
// payloads of a file hold, a line each in hexadecimal; node another_reader.js MODULES write prints some of its own so.
"use strict";
const path = require("path");
const fs = require("fs");
const { createRequire } = require("module");
const { encodePayload, decodePayload } = createRequire(path.join(process.argv[2], "x"))("sparkplug-payload").get("spBv1.0");

function shown(value) {
  if (value === null || value === undefined) return "null";
  if (value instanceof Uint8Array) return Buffer.from(value).toString("hex");
  return String(value);
}

function show(bytes) {
  const payload = decodePayload(bytes);
  console.log(`at ${shown(payload.timestamp)} seq ${shown(payload.seq)}`);
  for (const metric of payload.metrics || []) {
    const properties = Object.entries(metric.properties || {}).map(([key, { type, value }]) => ` ${key}:${type}=${shown(value)}`);
    console.log(`${metric.name || "-"} ${shown(metric.alias)} ${metric.type || "-"} ${shown(metric.value)}${properties.join("")}`);
  }
}

function write(payload) {
  console.log(Buffer.from(encodePayload(payload)).toString("hex"));
}

if (process.argv[3] === "read") {
  for (const line of fs.readFileSync(process.argv[4], "utf8").split("\n")) {
    if (line !== "") show(Buffer.from(line, "hex"));
  }
} else {
  write({ timestamp: 1000, seq: 0, metrics: [{ name: "bdSeq", value: 3, type: "Int64", timestamp: 1000 }] });
  write({
    timestamp: 1001,
    seq: 1,
    metrics: [
      { name: "depth", alias: 1, value: 12.5, type: "Double", timestamp: 1001, properties: { engUnit: { type: "String", value: "m" } } },
      { name: "mode", alias: 2, value: -7, type: "Int32", timestamp: 1001 },
      { name: "count", alias: 3, value: 4000000000, type: "UInt32", timestamp: 1001 },
      { name: "on", alias: 4, value: true, type: "Boolean", timestamp: 1001 },
      { name: "hull/name", alias: 5, value: "Ørnen", type: "String", timestamp: 1001 },
      { name: "level", alias: 6, value: 0.25, type: "Float", timestamp: 1001 },
      { name: "small", alias: 7, value: -1, type: "Int8", timestamp: 1001 },
    ],
  });
  write({ timestamp: 1002, seq: 2, metrics: [{ alias: 1, value: 13.5, type: "Double", timestamp: 1002 }] });
  write({ timestamp: 1003, metrics: [{ name: "x5Range", value: 75, type: "Double", timestamp: 1003 }] });
}
