// node read.mjs FILE.mcap RECORDING: the file, by its index and as a stream, has the recording's lines.

import { open, readFile } from "node:fs/promises";
import { createRequire } from "node:module";
import { join } from "node:path";

const { McapIndexedReader, McapStreamReader } = createRequire(join(process.env.MODULES, "_"))("@mcap/core");
const [path, recording] = process.argv.slice(2);
const lines = (await readFile(recording, "utf8")).split("\n").slice(0, -1);

function expect(what, found, expected) {
    if (found === expected) return;
    console.error(`${path}: ${what}: found ${found}, where ${expected} was expected`);
    process.exit(1);
}

function compare(what, messages, order) {
    expect(`${what}: messages`, messages.length, lines.length);
    const texts = messages.map((message) => new TextDecoder().decode(message.data));
    expect(`${what}: lines`, (order ? texts.sort() : texts).join("\n"), (order ? [...lines].sort() : lines).join("\n"));
}

const file = await open(path);
const size = BigInt((await file.stat()).size);
const indexed = await McapIndexedReader.Initialize({
    readable: {
        size: async () => size,
        read: async (offset, length) => {
            const bytes = new Uint8Array(Number(length));
            await file.read(bytes, 0, bytes.length, Number(offset));
            return bytes;
        },
    },
});
const byIndex = [];
for await (const message of indexed.readMessages()) {
    const { timestamp, name } = JSON.parse(new TextDecoder().decode(message.data));
    const channel = indexed.channelsById.get(message.channelId);
    expect("topic", channel.topic, name);
    expect("schema", indexed.schemasById.get(channel.schemaId).encoding, "jsonschema");
    JSON.parse(new TextDecoder().decode(indexed.schemasById.get(channel.schemaId).data));
    expect("log time", Math.abs(Number(message.logTime) / 1e9 - timestamp) < 1e-6, true);
    byIndex.push(message);
}
compare("by its index", byIndex, true);
expect("statistics", indexed.statistics.messageCount, BigInt(lines.length));
expect("counts", [...indexed.statistics.channelMessageCounts.values()].reduce((a, b) => a + b, 0n), BigInt(lines.length));
await file.close();

const stream = new McapStreamReader();
stream.append(await readFile(path));
const streamed = [];
for (let record = stream.nextRecord(); record; record = stream.nextRecord()) if (record.type === "Message") streamed.push(record);
compare("as a stream", streamed, false);
expect("the end", stream.done(), true);
console.log(`${lines.length} messages by index and as a stream, ${indexed.chunkIndexes.length} chunks`);
