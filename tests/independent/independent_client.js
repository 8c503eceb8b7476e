// Programs of others at a broker: node independent_client.js MODULES host PORT AUTHORITY CERTIFICATE KEY reads the vessel
// Vega of the group north, commands its sonar Bow and has it born anew; node independent_client.js MODULES node PORT is an
// edge node itself. Each says what it sees, a line each, and ends when it has seen all.
"use strict";
const path = require("path");
const fs = require("fs");
const { createRequire } = require("module");
const load = createRequire(path.join(process.argv[2], "x"));
const [, , , mode, port, authority, certificate, key] = process.argv;

function host() {
  const mqtt = load("mqtt");
  const { encodePayload, decodePayload } = load("sparkplug-payload").get("spBv1.0");
  const line = mqtt.connect(`mqtts://127.0.0.1:${port}`, {
    ca: fs.readFileSync(authority),
    cert: fs.readFileSync(certificate),
    key: fs.readFileSync(key),
    protocolVersion: 5,
    reconnectPeriod: 0,
  });
  const say = (topic, metrics) => line.publish(topic, Buffer.from(encodePayload({ timestamp: Date.now(), metrics })));
  const rebirth = () => say("spBv1.0/north/NCMD/Vega", [{ name: "Node Control/Rebirth", type: "Boolean", value: true }]);
  let alias; // of the range
  let seq;
  let stage = "wait";
  line.on("error", (error) => {
    console.error(String(error));
    process.exit(1);
  });
  line.on("connect", () => line.subscribe("spBv1.0/north/#", rebirth));
  line.on("message", (topic, bytes) => {
    const [, , kind, vessel, sonar] = topic.split("/");
    if (kind.endsWith("CMD") || kind.endsWith("DEATH")) return;
    const { metrics = [], seq: number } = decodePayload(bytes);
    const next = Number(number);
    if (kind !== "NBIRTH" && seq === undefined) return; // of before the birth that was asked for
    if (kind !== "NBIRTH" && next !== (seq + 1) % 256) console.log(`${kind} has number ${next} behind ${seq}`);
    seq = next;
    if (kind === "NBIRTH") {
      const names = metrics.map((metric) => metric.name);
      console.log(`${vessel} is born: ${["bdSeq", "Node Control/Rebirth"].every((name) => names.includes(name))}`);
    } else if (kind === "DBIRTH" && sonar === "Bow") {
      const range = metrics.find((metric) => metric.name === "x5Range");
      if (!range) return; // the sonar has not told it yet, and is born anew when it does
      alias = Number(range.alias);
      console.log(`${sonar} is born: x5Range ${range.type} ${range.properties.engUnit.value} ${range.value}`);
      if (stage === "wait") {
        stage = "commanded";
        say("spBv1.0/north/DCMD/Vega/Bow", [{ name: "x5Range", type: "Double", value: 75 }]);
      } else if (stage === "reborn") {
        line.end(true, () => process.exit(0));
      }
    } else if (kind === "DDATA" && sonar === "Bow" && stage === "commanded") {
      const range = metrics.find((metric) => metric.alias !== undefined && Number(metric.alias) === alias);
      if (range && range.value === 75) {
        console.log(`${sonar} has: ${range.type} ${range.value}`);
        stage = "reborn";
        rebirth();
      }
    }
  });
}

function node() {
  const line = load("sparkplug-client").newClient({
    serverUrl: `mqtt://127.0.0.1:${port}`,
    username: "",
    password: "",
    groupId: "north",
    edgeNode: "Stranger",
    clientId: "stranger",
    version: "spBv1.0",
  });
  const tell = (what, value) => ({
    timestamp: Date.now(),
    metrics: [{ name: what, type: "Double", value, properties: { engUnit: { type: "String", value: "m" } } }],
  });
  line.on("birth", () => {
    line.publishNodeBirth({ timestamp: Date.now(), metrics: [{ name: "program", type: "String", value: "another" }] });
    line.publishDeviceBirth("probe", tell("depth", 12.5));
    line.publishDeviceData("probe", tell("depth", 13.5));
  });
  line.on("dcmd", (device, payload) => {
    const [metric] = payload.metrics;
    console.log(`${device} is asked for ${metric.name} ${metric.type} ${metric.value}`);
    line.publishDeviceData("probe", tell("depth", metric.value));
  });
}

(mode === "host" ? host : node)();
