// The workspace under a busy second writer: another process rewrites workspace.json at 78 Hz,
// by renaming and in place by turns, while an agent creates a request and sets a variable
// every 60 ms through the server. Prints what became of both sides' changes.
// Usage: node bench/busy-writer.mjs <tessaline-mcp> <workspace folder> [seconds]
import { mkdtempSync } from 'node:fs';
import { join } from 'node:path';
import { createRequire } from 'node:module';
import { setTimeout as sleep } from 'node:timers/promises';
import { busyAgent, busyWriter, outcome, seedWorkspace } from '../tests/e2e/second-writer.mjs';

const require = createRequire(new URL('../tests/e2e/package.json', import.meta.url));
const { Client } = require('@modelcontextprotocol/sdk/client/index.js');
const { StdioClientTransport } = require('@modelcontextprotocol/sdk/client/stdio.js');

const [binary, parent, seconds = '45'] = process.argv.slice(2);
const folder = mkdtempSync(join(parent, 'busy-writer-'));
seedWorkspace(folder);
const client = new Client({ name: 'bench', version: '1.0.0' });
await client.connect(new StdioClientTransport({ command: binary, args: ['--workspace', folder] }));
const call = async (name, args = {}) => {
  const result = await client.callTool({ name, arguments: args });
  return { text: result.content[0].text, isError: result.isError };
};

const writer = busyWriter(folder, 78);
const agent = busyAgent(call, 60);
await sleep(Number(seconds) * 1000);
await Promise.all([writer.stop(), agent.stop()]);
await call('list_collections');  // the writer's last write taken in
await client.close();

const result = outcome(folder, writer.renamed, agent.acknowledged);
const percent = (part, whole) => `${(100 * part / whole).toFixed(1)}%`;
console.log(`busy second writer, ${seconds} s: ${writer.renamed.length} renamed writes (as many in place), ` +
  `${agent.acknowledged.length} acknowledged changes, ${agent.failed.length} failed calls`);
console.log(`  renamed writes missing from workspace.json after the server's next save: ${result.missingFromLive.length} ` +
  `(${percent(result.missingFromLive.length, writer.renamed.length)}), in no snapshot either: ${result.lostOutside.length}`);
console.log(`  workspace-unreadable copies written: ${result.unreadableCopies}`);
console.log(`  acknowledged changes lost: ${result.lostAcknowledged.length}`);
console.log(`  snapshots: ${result.snapshots}`);
