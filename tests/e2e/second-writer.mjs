// A busy second writer of workspace.json beside an agent that edits through the server, and
// what became of each side's changes; shared by the two-writer test and bench/busy-writer.mjs.
import { closeSync, openSync, readFileSync, readdirSync, renameSync, writeFileSync, writeSync } from 'node:fs';
import { randomUUID } from 'node:crypto';
import { join } from 'node:path';
import { performance } from 'node:perf_hooks';
import { setTimeout as sleep } from 'node:timers/promises';

const id = () => randomUUID().toUpperCase();

// A workspace with the agent's collection and the writer's environment, whose first variable
// collects the writer's marks.
export function seedWorkspace(folder) {
  writeFileSync(join(folder, 'workspace.json'), JSON.stringify({ version: 1, collections: [{ id: id(), name: 'Server', items: [] }],
    environments: [{ id: id(), name: 'Outside', variables: [{ id: id(), key: 'marks', value: '', enabled: true }] }] }));
}

// Runs `step(n)` for n = 1, 2, ... every `periodMs` on average until stop() is awaited.
function paced(periodMs, step) {
  let running = true;
  const done = (async () => {
    let next = performance.now();
    for (let n = 1; running; n++) {
      await step(n);
      next += periodMs;
      await sleep(Math.max(0, next - performance.now()));
    }
  })();
  return async () => { running = false; await done; };
}

// Rewrites workspace.json `hz` times a second, adding the mark " outside#<n>" to what it holds:
// odd writes by renaming a whole file over it, even ones in place, truncating it and writing
// two halves 1 ms apart, as a program without atomic saves does.
export function busyWriter(folder, hz) {
  const file = join(folder, 'workspace.json');
  const renamed = [];
  const stop = paced(1000 / hz, async (n) => {
    const workspace = JSON.parse(readFileSync(file, 'utf8'));
    workspace.environments[0].variables[0].value += ` outside#${n}`;
    const bytes = Buffer.from(JSON.stringify(workspace));
    if (n % 2) {
      writeFileSync(`${file}.writer`, bytes);
      renameSync(`${file}.writer`, file);
      renamed.push(n);
      return;
    }
    const fd = openSync(file, 'w');
    writeSync(fd, bytes, 0, bytes.length >> 1);
    await sleep(1);
    writeSync(fd, bytes, bytes.length >> 1);
    closeSync(fd);
  });
  return { renamed, stop };
}

// Every `periodMs` the agent creates a request and sets a variable, each named by its round;
// `call(name, args)` gives a tool result as { text, isError }.
export function busyAgent(call, periodMs) {
  const acknowledged = [], failed = [];
  const stop = paced(periodMs, async (n) => {
    for (const [name, args, token] of [['create_request', { collection: 'Server', name: `agent-request-${n}`, url: 'https://example.test/' }, `agent-request-${n}`],
      ['set_variable', { collection: 'Server', key: `agent-variable-${n}`, value: 'set' }, `agent-variable-${n}`]]) {
      const answer = await call(name, args);
      (answer.isError ? failed : acknowledged).push(answer.isError ? answer.text : token);
    }
  });
  return { acknowledged, failed, rounds: () => acknowledged.length + failed.length, stop };
}

// What became of both sides' changes once they stopped: renamed writes missing from the live
// file, those in neither it nor a snapshot, acknowledged changes in neither, and the copies
// of files the server could not read.
export function outcome(folder, renamed, acknowledged) {
  const found = (text, pattern) => [...text.matchAll(pattern)].map((match) => match[1]);
  const [marks, tokens] = [/outside#(\d+)/g, /"(agent-(?:request|variable)-\d+)"/g];
  const live = readFileSync(join(folder, 'workspace.json'), 'utf8');
  const inLive = new Set(found(live, marks)), kept = new Set(inLive), keptTokens = new Set(found(live, tokens));
  const versions = readdirSync(join(folder, 'versions'));
  for (const name of versions) {
    const text = readFileSync(join(folder, 'versions', name), 'utf8');
    for (const mark of found(text, marks)) kept.add(mark);
    for (const token of found(text, tokens)) keptTokens.add(token);
  }
  return {
    missingFromLive: renamed.filter((n) => !inLive.has(String(n))),
    lostOutside: renamed.filter((n) => !kept.has(String(n))),
    lostAcknowledged: acknowledged.filter((token) => !keptTokens.has(token)),
    unreadableCopies: readdirSync(folder).filter((name) => name.startsWith('workspace-unreadable-')).length,
    snapshots: versions.length,
  };
}
