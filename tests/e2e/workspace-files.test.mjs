// The workspace folder under faults and a second writer: files the server cannot read are
// never destroyed, failed saves are told, an outside write is never replaced unseen, and the
// process ends cleanly when the host goes away.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { spawn, execFileSync } from 'node:child_process';
import {
  chmodSync, chownSync, copyFileSync, lstatSync, mkdirSync, mkdtempSync, readFileSync, readdirSync, renameSync, rmSync,
  statSync, symlinkSync, writeFileSync,
} from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { randomUUID } from 'node:crypto';
import { binary, run, temporaryFolder } from './harness.mjs';

const isRoot = process.getuid() === 0;
const nobody = 65534;
const keptNote = /\nNote: workspace\.json could not be read: .+\nIts content was kept in (workspace-unreadable-\d{8}T\d{6}\.\d{3}Z\.json) before this save replaced workspace\.json\.$/;
const inMemory = 'The change is kept in memory and will be written by the next save that succeeds; do not make it again.';

// The binary copied where nobody can run it: the build folder may lie under a private one
// (a clone in a folder made by mktemp is 0700).
let binaryOfNobody;
function binaryForNobody() {
  if (!binaryOfNobody) {
    const folder = mkdtempSync(join(tmpdir(), 'tessaline-nobody-'));
    chmodSync(folder, 0o755);
    binaryOfNobody = join(folder, 'tessaline-mcp');
    copyFileSync(binary, binaryOfNobody);
    chmodSync(binaryOfNobody, 0o755);
    process.on('exit', () => rmSync(folder, { recursive: true, force: true }));
  }
  return binaryOfNobody;
}

function call(id, name, args) {
  return JSON.stringify({ jsonrpc: '2.0', id, method: 'tools/call', params: { name, arguments: args } }) + '\n';
}

// Runs the server on `folder` with the given calls (the last one a create_request) and
// returns each tool result.
async function results(folder, calls, options = {}) {
  const input = calls.map(([name, args], index) => call(index + 1, name, args)).join('');
  const { status, stdout, stderr } = await (options.command
    ? runCommand(options.command, ['--workspace', folder], input, options.spawn)
    : run(['--workspace', folder], input));
  assert.equal(status, 0);
  assert.equal(stderr, '');
  return stdout.trim().split('\n').map((line) => JSON.parse(line).result).map((r) => ({ text: r.content[0].text, isError: r.isError }));
}

function runCommand(command, args, input, options = {}) {
  return new Promise((resolve, reject) => {
    const child = spawn(command[0], [...command.slice(1), ...args], options);
    const out = [];
    const err = [];
    child.stdout.on('data', (chunk) => out.push(chunk));
    child.stderr.on('data', (chunk) => err.push(chunk));
    child.on('error', reject);
    child.on('close', (status) => resolve({ status, stdout: Buffer.concat(out).toString(), stderr: Buffer.concat(err).toString() }));
    child.stdin.end(input);
  });
}

const create = ['create_request', { collection: 'Mine', name: 'Ping', url: 'https://example.test/ping' }];
const created = /^Created request Ping in Mine\. id: [0-9A-F-]{36}/;

// Whole and valid but for one request's method, which only a newer build knows.
const newerBuild = JSON.stringify({
  version: 1,
  collections: [{
    id: randomUUID().toUpperCase(), name: 'Theirs',
    items: [{
      request: {
        _0: {
          id: randomUUID().toUpperCase(), name: 'Search', method: 'QUERY', url: '/search', query: [], headers: [],
          body: { kind: 'none', raw: '', form: [] },
          auth: { kind: 'none', token: '', username: '', password: '', apiKeyName: 'X-API-Key', apiKeyValue: '', apiKeyIn: 'header' },
          notes: '', followRedirects: true, timeout: 30,
        },
      },
    }],
  }],
  environments: [],
});

for (const [name, bytes] of [['truncated JSON', '{"version": 1, "collections": [{"name": "Half'], ['a method of a newer build', newerBuild]]) {
  test(`a workspace file holding ${name} is kept before the first save replaces it`, async (t) => {
    const folder = temporaryFolder(t);
    writeFileSync(join(folder, 'workspace.json'), bytes);
    const [listed, first] = await results(folder, [['list_requests', {}], create]);
    assert.deepEqual(listed, { text: '[]', isError: false });
    assert.equal(first.isError, false);
    assert.match(first.text, created);
    const copy = first.text.match(keptNote)?.[1];
    assert.ok(copy, first.text);
    assert.equal(readFileSync(join(folder, copy), 'utf8'), bytes);
    assert.equal(statSync(join(folder, copy)).mode & 0o777, 0o600);
    const [second] = await results(folder, [['create_request', { ...create[1], name: 'Pong' }]]);
    assert.equal(second.text.includes('Note:'), false);
  });
}

// Each fault makes the save fail; the answer says why, what was done, and that it is only in
// memory. Faults that need what this machine may not allow are skipped with a message.
const saveFaults = [
  {
    name: 'workspace.json is a folder',
    make: (folder) => mkdirSync(join(folder, 'workspace.json')),
    reason: (folder) => `Could not read “${join(folder, 'workspace.json')}”: Is a directory`,
  },
  {
    name: 'the disk is full',
    make: (folder) => writeFileSync(join(folder, 'workspace.json'), '{"version": 1, "collections": [], "environments": []}'),
    command: ['sh', '-c', 'trap "" XFSZ; ulimit -f 1; exec "$0" "$@"', binary],
    notes: 'x'.repeat(4096),
    reason: (folder) => `Could not write “${join(folder, 'workspace.json')}”: File too large`,
  },
  {
    name: 'the workspace folder is read-only',
    skip: isRoot ? false : 'needs root to run the server as another user',
    make: (folder) => {
      writeFileSync(join(folder, 'workspace.json'), '{"version": 1, "collections": [], "environments": []}');
      mkdirSync(join(folder, 'history'));
      chownSync(join(folder, 'workspace.json'), nobody, nobody);
      chmodSync(folder, 0o755);
    },
    spawn: { uid: nobody, gid: nobody },
    reason: (folder) => `Could not write “${join(folder, 'workspace.json')}”: Permission denied`,
  },
  {
    name: 'workspace.json cannot be opened',
    skip: isRoot ? false : 'needs root to run the server as another user',
    make: (folder) => {
      writeFileSync(join(folder, 'workspace.json'), '{"version": 1, "collections": [], "environments": []}');
      chmodSync(join(folder, 'workspace.json'), 0o000);
      chownSync(folder, nobody, nobody);
    },
    spawn: { uid: nobody, gid: nobody },
    reason: (folder) => `Could not read “${join(folder, 'workspace.json')}”: Permission denied`,
  },
  {
    name: 'the file system is read-only',
    make: (folder) => {
      writeFileSync(join(folder, 'workspace.json'), '{"version": 1, "collections": [], "environments": []}');
      execFileSync('mount', ['--bind', folder, folder], { stdio: 'ignore' });
      try {
        execFileSync('mount', ['-o', 'remount,bind,ro', folder], { stdio: 'ignore' });
      } catch (error) {
        execFileSync('umount', [folder], { stdio: 'ignore' });
        throw error;
      }
    },
    clear: (folder) => execFileSync('umount', [folder], { stdio: 'ignore' }),
    reason: (folder) => `Could not write “${join(folder, 'workspace.json')}”: Read-only file system`,
  },
];

for (const fault of saveFaults) {
  test(`a save fails and says so when ${fault.name}`, { skip: fault.skip }, async (t) => {
    const folder = temporaryFolder(t);
    try {
      fault.make(folder);
    } catch (error) {
      t.skip(`cannot set this fault up here: ${error.message.split('\n')[0]}`);
      return;
    }
    const options = { command: fault.command ?? (fault.spawn ? [binaryForNobody()] : undefined), spawn: fault.spawn };
    let answer;
    try {
      [answer] = await results(folder, [['create_request', { ...create[1], notes: fault.notes ?? '' }]], options);
    } finally {
      fault.clear?.(folder);
    }
    assert.equal(answer.isError, true);
    const lines = answer.text.split('\n');
    assert.equal(lines[0], `Error: Couldn't save workspace: ${fault.reason(folder)}`);
    assert.match(lines[1], created);
    assert.equal(lines[2], inMemory);
  });
}

test('a symbolic link at workspace.json stays a link to the file that is written', async (t) => {
  const folder = temporaryFolder(t);
  mkdirSync(join(folder, 'real'));
  writeFileSync(join(folder, 'real', 'mine.json'), '{"version": 1, "collections": [], "environments": []}');
  symlinkSync('real/mine.json', join(folder, 'workspace.json'));
  const [answer] = await results(folder, [create]);
  assert.equal(answer.isError, false);
  assert.ok(lstatSync(join(folder, 'workspace.json')).isSymbolicLink());
  assert.equal(JSON.parse(readFileSync(join(folder, 'real', 'mine.json'), 'utf8')).collections[0].name, 'Mine');
});

test('a new workspace folder is private, and so are the files that hold secrets', async (t) => {
  const parent = temporaryFolder(t);
  const folder = join(parent, 'new', 'Tessaline');
  await results(folder, [create, ['delete_request', { request: 'Ping' }]]);
  const mode = (path) => statSync(path).mode & 0o777;
  assert.deepEqual([mode(join(parent, 'new')), mode(folder), mode(join(folder, 'history')), mode(join(folder, 'versions'))],
    [0o700, 0o700, 0o700, 0o700]);
  assert.equal(mode(join(folder, 'workspace.json')), 0o600);
  for (const name of readdirSync(join(folder, 'versions'))) assert.equal(mode(join(folder, 'versions', name)), 0o600, name);
});

test('a host that closes stdout ends the server with status 0 and nothing on stderr', async (t) => {
  const child = spawn(binary, ['--workspace', temporaryFolder(t)], { stdio: ['pipe', 'pipe', 'pipe'] });
  const stderr = [];
  child.stderr.on('data', (chunk) => stderr.push(chunk));
  child.stdout.destroy();
  const ended = new Promise((resolve) => child.on('close', (status, signal) => resolve({ status, signal })));
  child.stdin.on('error', () => {});
  const ping = '{"jsonrpc":"2.0","id":1,"method":"ping"}\n';
  for (let i = 0; i < 1000; i++) child.stdin.write(ping);
  child.stdin.end();
  assert.deepEqual(await ended, { status: 0, signal: null });
  assert.equal(Buffer.concat(stderr).toString(), '');
});

// The desktop client's part: read workspace.json, add a mark to a variable, write it back
// atomically, more than 100 times a second, while the agent edits through the server as fast
// as it answers. Every mark the other writer wrote must end up in workspace.json or a
// snapshot.
test('a second writer at over 100 Hz loses no change without a snapshot', async (t) => {
  const folder = temporaryFolder(t);
  const file = join(folder, 'workspace.json');
  writeFileSync(file, JSON.stringify({
    version: 1,
    collections: [{ id: randomUUID().toUpperCase(), name: 'Server', items: [] }],
    environments: [{ id: randomUUID().toUpperCase(), name: 'Outside', variables: [{ id: randomUUID().toUpperCase(), key: 'marks', value: '', enabled: true }] }],
  }));
  const server = spawn(binary, ['--workspace', folder], { stdio: ['pipe', 'pipe', 'pipe'] });
  const stderr = [];
  server.stderr.on('data', (chunk) => stderr.push(chunk));
  let pending = null;
  let buffered = '';
  server.stdout.on('data', (chunk) => {
    buffered += chunk;
    let end;
    while ((end = buffered.indexOf('\n')) >= 0) {
      const line = buffered.slice(0, end);
      buffered = buffered.slice(end + 1);
      pending(JSON.parse(line));
    }
  });
  const ask = (id, args) => new Promise((resolve) => { pending = resolve; server.stdin.write(call(id, 'set_variable', args)); });

  let outside = 0;
  const writer = setInterval(() => {
    for (let burst = 0; burst < 3; burst++) {
      const workspace = JSON.parse(readFileSync(file, 'utf8'));
      outside += 1;
      workspace.environments.find((e) => e.name === 'Outside').variables[0].value += ` outside#${outside}`;
      writeFileSync(`${file}.writer`, JSON.stringify(workspace));
      renameSync(`${file}.writer`, file);
    }
  }, 10);
  const until = Date.now() + 4000;
  let calls = 0;
  let failed = 0;
  while (Date.now() < until) {
    calls += 1;
    const reply = await ask(calls, { collection: 'Server', key: 'server', value: String(calls) });
    if (reply.result.isError) failed += 1;
  }
  clearInterval(writer);
  server.stdin.end();
  await new Promise((resolve) => server.on('close', resolve));

  const seen = new Set();
  const versions = join(folder, 'versions');
  const files = [file, ...readdirSync(versions).map((name) => join(versions, name))];
  for (const path of files) {
    for (const [, n] of readFileSync(path, 'utf8').matchAll(/outside#(\d+)/g)) seen.add(Number(n));
  }
  const lost = [];
  for (let n = 1; n <= outside; n++) if (!seen.has(n)) lost.push(n);
  console.log(`two writers: ${outside} outside writes in 4 s, ${calls} server edits, ` +
    `${lost.length} outside writes lost without a snapshot, ${files.length - 1} snapshots`);
  assert.ok(outside >= 400, `only ${outside} outside writes`);
  assert.equal(failed, 0);
  assert.deepEqual(lost, []);
  assert.equal(Buffer.concat(stderr).toString(), '');
});
