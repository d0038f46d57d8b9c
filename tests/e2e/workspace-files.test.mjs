// The workspace folder under faults and a second writer: files the server cannot read are
// never destroyed, failed saves are told, what the server writes is private, an outside
// write is never replaced unseen, and the process ends cleanly when the host goes away.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { chmodSync, lstatSync, mkdirSync, readFileSync, readdirSync, renameSync, statSync, symlinkSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { binary, localServer, run, temporaryFolder } from './harness.mjs';

const empty = '{"version": 1, "collections": [], "environments": []}';
const call = (id, name, args) => JSON.stringify({ jsonrpc: '2.0', id, method: 'tools/call', params: { name, arguments: args } }) + '\n';
const create = ['create_request', { collection: 'Mine', name: 'Ping', url: 'https://example.test/ping' }];
const created = /^Created request Ping in Mine\. id: [0-9A-F-]{36}/;

// Runs the server on `folder` with the given calls and returns each tool result; `command` (a
// program and its first arguments) starts it otherwise than run() does.
async function results(folder, calls, command = undefined) {
  const input = calls.map(([name, args], index) => call(index + 1, name, args)).join('');
  const { status, stdout, stderr } = await (command ? new Promise((resolve, reject) => {
    const child = spawn(command[0], [...command.slice(1), '--workspace', folder]);
    const out = { stdout: [], stderr: [] };
    for (const name of ['stdout', 'stderr']) child[name].on('data', (chunk) => out[name].push(chunk));
    child.on('error', reject);
    child.on('close', (code) => resolve({ status: code, stdout: Buffer.concat(out.stdout).toString(), stderr: Buffer.concat(out.stderr).toString() }));
    child.stdin.end(input);
  }) : run(['--workspace', folder], input));
  assert.equal(status, 0);
  assert.equal(stderr, '');
  return stdout.trim().split('\n').map((line) => JSON.parse(line).result).map((r) => ({ text: r.content[0].text, isError: r.isError }));
}

// Whole and valid but for one request's method, which only a newer build knows.
const auth = { kind: 'none', token: '', username: '', password: '', apiKeyName: 'X-API-Key', apiKeyValue: '', apiKeyIn: 'header' };
const newerBuild = JSON.stringify({ version: 1, environments: [], collections: [{
  id: '5F6B6B0E-3A43-4C8B-9C55-6B0C2A8E0F11', name: 'Theirs', items: [{ request: { _0: {
    id: '5F6B6B0E-3A43-4C8B-9C55-6B0C2A8E0F12', name: 'Search', method: 'QUERY', url: '/search', query: [], headers: [],
    body: { kind: 'none', raw: '', form: [] }, auth, notes: '', followRedirects: true, timeout: 30,
  } } }],
}] });

for (const [name, bytes] of [['truncated JSON', '{"version": 1, "collections": [{"name": "Half'], ['a method of a newer build', newerBuild]]) {
  test(`a workspace file holding ${name} is kept before the first save replaces it`, async (t) => {
    const folder = temporaryFolder(t);
    writeFileSync(join(folder, 'workspace.json'), bytes);
    const [listed, first] = await results(folder, [['list_requests', {}], create]);
    assert.deepEqual(listed, { text: '[]', isError: false });
    const copy = first.text.match(/\nNote: workspace\.json could not be read: .+\nIts content was kept in (workspace-unreadable-\d{8}T\d{6}\.\d{3}Z\.json) before this save replaced workspace\.json\.$/)?.[1];
    assert.ok(copy && !first.isError && created.test(first.text), first.text);
    assert.equal(readFileSync(join(folder, copy), 'utf8'), bytes);
    assert.equal(statSync(join(folder, copy)).mode & 0o777, 0o600);
    const [second] = await results(folder, [['create_request', { ...create[1], name: 'Pong' }]]);
    assert.equal(second.text.includes('Note:'), false);
  });
}

// The save fails when the file cannot be read, and when it cannot be written; the answer says
// why, what was done, and that the change is only in memory.
const saveFaults = [
  { name: 'workspace.json is a folder', make: (folder) => mkdirSync(join(folder, 'workspace.json')), reason: 'Could not read “%s”: Is a directory' },
  {
    name: 'the disk is full',
    make: (folder) => writeFileSync(join(folder, 'workspace.json'), empty),
    command: ['sh', '-c', 'trap "" XFSZ; ulimit -f 1; exec "$0" "$@"', binary],
    notes: 'x'.repeat(4096),
    reason: 'Could not write “%s”: File too large',
  },
];

for (const fault of saveFaults) {
  test(`a save fails and says so when ${fault.name}`, async (t) => {
    const folder = temporaryFolder(t);
    fault.make(folder);
    const [answer] = await results(folder, [['create_request', { ...create[1], notes: fault.notes ?? '' }]], fault.command);
    const [reason, done, kept] = answer.text.split('\n');
    assert.equal(answer.isError, true);
    assert.equal(reason, `Error: Couldn't save workspace: ${fault.reason.replace('%s', join(folder, 'workspace.json'))}`);
    assert.match(done, created);
    assert.equal(kept, 'The change is kept in memory and will be written by the next save that succeeds; do not make it again.');
  });
}

test('a symbolic link at workspace.json stays a link to the file that is written', async (t) => {
  const folder = temporaryFolder(t);
  mkdirSync(join(folder, 'real'));
  writeFileSync(join(folder, 'real', 'mine.json'), empty);
  symlinkSync('real/mine.json', join(folder, 'workspace.json'));
  assert.equal((await results(folder, [create]))[0].isError, false);
  assert.ok(lstatSync(join(folder, 'workspace.json')).isSymbolicLink());
  assert.equal(JSON.parse(readFileSync(join(folder, 'real', 'mine.json'), 'utf8')).collections[0].name, 'Mine');
});

// They hold environment values, sent Authorization headers and tokens.
test('every file the server writes is private, in private folders; what exists keeps its mode', async (t) => {
  const { base } = await localServer(t, (_request, response) => {
    response.setHeader('Content-Type', 'application/json');
    response.end('{"access_token": "a", "token_type": "Bearer", "expires_in": 3600}');
  });
  const parent = temporaryFolder(t);
  const folder = join(parent, 'new', 'Tessaline');
  const file = join(folder, 'workspace.json');
  const ping = ['create_request', { ...create[1], url: `${base}/ping` }];
  const sent = await results(folder, [ping, ['send_request', { request: 'Ping' }], ['delete_request', { request: 'Health check' }]]);
  assert.deepEqual(sent.map((answer) => answer.isError), [false, false, false]);
  const mode = (path) => statSync(path).mode & 0o777;
  const inside = (name) => readdirSync(join(folder, name)).map((entry) => join(folder, name, entry));
  const folders = [join(parent, 'new'), folder, join(folder, 'history'), join(folder, 'versions')];
  assert.deepEqual(folders.map(mode), folders.map(() => 0o700));
  const files = [file, ...inside('versions'), ...inside('history')];
  assert.deepEqual(files.map(mode), files.map(() => 0o600));
  assert.ok(inside('history').length === 1 && inside('versions').length > 0, files.join('\n'));

  const workspace = JSON.parse(readFileSync(file, 'utf8'));
  const mine = workspace.collections.find((collection) => collection.name === 'Mine');
  mine.auth = { ...mine.auth, kind: 'oauth2', oauth2: { grant: 'clientCredentials', tokenURL: `${base}/token`, clientID: 'c' } };
  writeFileSync(file, JSON.stringify(workspace));
  chmodSync(file, 0o640);
  chmodSync(folder, 0o750);
  const [token] = await results(folder, [['oauth_token', { collection: 'Mine', action: 'new' }], ['set_variable', { key: 'k', value: 'v' }]]);
  assert.equal(token.isError, false, token.text);
  assert.deepEqual([mode(join(folder, 'oauth-tokens.json')), mode(file), mode(folder)], [0o600, 0o640, 0o750]);
});

test('a host that closes stdout ends the server with status 0 and nothing on stderr', async (t) => {
  const child = spawn(binary, ['--workspace', temporaryFolder(t)]);
  const stderr = [];
  child.stderr.on('data', (chunk) => stderr.push(chunk));
  child.stdout.destroy();
  const ended = new Promise((resolve) => child.on('close', (status, signal) => resolve({ status, signal })));
  child.stdin.on('error', () => {});
  for (let i = 0; i < 1000; i++) child.stdin.write('{"jsonrpc":"2.0","id":1,"method":"ping"}\n');
  child.stdin.end();
  assert.deepEqual(await ended, { status: 0, signal: null });
  assert.equal(Buffer.concat(stderr).toString(), '');
});

// The desktop client's part: read workspace.json, add a mark to a variable and write it back
// atomically, three times every 10 ms, while the agent edits through the server as fast as it
// answers. Every mark must end up in workspace.json or a snapshot. The run is counted in
// writes, not time, so that a slow machine runs longer rather than fails.
test('a second writer loses no change without a snapshot', async (t) => {
  const folder = temporaryFolder(t);
  const file = join(folder, 'workspace.json');
  writeFileSync(file, JSON.stringify({ version: 1, collections: [{ id: '5F6B6B0E-3A43-4C8B-9C55-6B0C2A8E0F13', name: 'Server', items: [] }],
    environments: [{ id: '5F6B6B0E-3A43-4C8B-9C55-6B0C2A8E0F14', name: 'Outside', variables: [{ id: '5F6B6B0E-3A43-4C8B-9C55-6B0C2A8E0F15', key: 'marks', value: '', enabled: true }] }] }));
  const server = spawn(binary, ['--workspace', folder]);
  const stderr = [];
  server.stderr.on('data', (chunk) => stderr.push(chunk));
  let answered = null;
  let buffered = '';
  server.stdout.on('data', (chunk) => {
    buffered += chunk;
    for (let end; (end = buffered.indexOf('\n')) >= 0; buffered = buffered.slice(end + 1)) answered(JSON.parse(buffered.slice(0, end)));
  });
  const ask = (id, args) => new Promise((resolve) => { answered = resolve; server.stdin.write(call(id, 'set_variable', args)); });

  let outside = 0;
  const writer = setInterval(() => {
    for (let burst = 0; burst < 3; burst++) {
      const workspace = JSON.parse(readFileSync(file, 'utf8'));
      workspace.environments[0].variables[0].value += ` outside#${++outside}`;
      writeFileSync(`${file}.writer`, JSON.stringify(workspace));
      renameSync(`${file}.writer`, file);
    }
  }, 10);
  let calls = 0;
  let failed = 0;
  while (outside < 600 || calls < 60) {
    const reply = await ask(++calls, { collection: 'Server', key: 'server', value: String(calls) });
    if (reply.result.isError) failed += 1;
  }
  clearInterval(writer);
  server.stdin.end();
  await new Promise((resolve) => server.on('close', resolve));

  const seen = new Set();
  const versions = readdirSync(join(folder, 'versions')).map((name) => join(folder, 'versions', name));
  for (const path of [file, ...versions]) {
    for (const [, n] of readFileSync(path, 'utf8').matchAll(/outside#(\d+)/g)) seen.add(Number(n));
  }
  const lost = [];
  for (let n = 1; n <= outside; n++) if (!seen.has(n)) lost.push(n);
  assert.equal(failed, 0);
  assert.deepEqual(lost, [], `${outside} outside writes, ${calls} server edits, ${versions.length} snapshots`);
  assert.equal(Buffer.concat(stderr).toString(), '');
});
