// The workspace folder under faults and a second writer: unreadable files are kept, failed
// saves are told, written files are private, and an outside write is never replaced unseen.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { chmodSync, readFileSync, readdirSync, statSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { setTimeout as sleep } from 'node:timers/promises';
import { binary, collected, connect, id, localServer, run, storedRequest, temporaryFolder } from './harness.mjs';
import { busyAgent, busyWriter, outcome, seedWorkspace } from './second-writer.mjs';

const call = (id, name, args) => JSON.stringify({ jsonrpc: '2.0', id, method: 'tools/call', params: { name, arguments: args } }) + '\n';
const create = ['create_request', { collection: 'Mine', name: 'Ping', url: 'https://example.test/ping' }];
const created = /^Created request Ping in Mine\. id: [0-9A-F-]{36}/;

// Each tool result of the given calls, on `folder`, through `command` when given.
async function results(folder, calls, command) {
  const input = calls.map(([name, args], index) => call(index + 1, name, args)).join('');
  const { status, stdout, stderr } = await run(['--workspace', folder], input, {}, command);
  assert.deepEqual([status, stderr], [0, '']);
  return stdout.trim().split('\n').map((line) => JSON.parse(line).result).map((r) => ({ text: r.content[0].text, isError: r.isError }));
}

// Whole and valid but for one request's method, which only a newer build knows.
const newerBuild = JSON.stringify({ version: 1, environments: [],
  collections: [{ id: id(), name: 'Theirs', items: [storedRequest('Search', '/search', { method: 'QUERY' })] }] });

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
    assert.doesNotMatch((await results(folder, [['create_request', { ...create[1], name: 'Pong' }]]))[0].text, /Note:/);
  });
}

// The notes make the file larger than the limit. The store's unit tests give the other reasons.
test('a save fails and says so when the disk is full', async (t) => {
  const file = join(temporaryFolder(t), 'workspace.json');
  writeFileSync(file, '{"version": 1, "collections": [], "environments": []}');
  const fullDisk = ['sh', '-c', 'trap "" XFSZ; ulimit -f 1; exec "$0" "$@"', binary];
  const [answer] = await results(join(file, '..'), [['create_request', { ...create[1], notes: 'x'.repeat(4096) }]], fullDisk);
  const [why, done, kept] = answer.text.split('\n');
  assert.equal(answer.isError, true);
  assert.equal(why, `Error: Couldn't save workspace: Could not write “${file}”: File too large`);
  assert.match(done, created);
  assert.equal(kept, 'The change is kept in memory and will be written by the next save that succeeds; do not make it again.');
});

// They hold environment values, sent Authorization headers and tokens.
test('every file the server writes is private, in private folders; what exists keeps its mode', async (t) => {
  const { base } = await localServer(t, (_request, response) => response.writeHead(200, { 'Content-Type': 'application/json' })
    .end('{"access_token": "a", "token_type": "Bearer", "expires_in": 3600}'));
  const parent = temporaryFolder(t);
  const folder = join(parent, 'new', 'Tessaline');
  const file = join(folder, 'workspace.json');
  const sent = await results(folder, [['create_request', { ...create[1], url: `${base}/ping` }], ['send_request', { request: 'Ping' }],
    ['delete_request', { request: 'Health check' }]]);
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
  const stderr = collected(child.stderr);
  child.stdout.destroy();
  const ended = new Promise((resolve) => child.on('close', (status, signal) => resolve({ status, signal })));
  child.stdin.on('error', () => {});
  child.stdin.end('{"jsonrpc":"2.0","id":1,"method":"ping"}\n'.repeat(1000));
  assert.deepEqual(await ended, { status: 0, signal: null });
  assert.equal(await stderr, '');
});

// A desktop client without atomic saves rewrites workspace.json at 78 Hz, half of the time in
// place in two halves, while the agent edits every 60 ms. Every renamed write ends in
// workspace.json or a snapshot, and nearly all of them stay in workspace.json: a save that
// catches one takes it in and writes again. A file caught half-written is read again rather
// than kept as unreadable. The run is counted in writes, not time, so that a slow machine runs
// longer rather than fails.
// How rarely holds for a server at full speed only: under the sanitizers a save's round takes
// longer than the writer's period, so more saves use up their rounds and write over the
// writer's newest file (keeping it in a snapshot). Nothing may be lost either way.
const fullSpeed = !process.env.TESSALINE_SANITIZED;
test('a busy second writer loses nothing and is rarely overwritten', async (t) => {
  const folder = temporaryFolder(t);
  seedWorkspace(folder);
  const { call, stderr } = await connect(t, folder);
  const writer = busyWriter(folder, 78);
  const agent = busyAgent(call, 60);
  while (writer.renamed.length < 200 || agent.rounds() < 100) await sleep(100);
  await Promise.all([writer.stop(), agent.stop()]);
  await call('list_collections');  // the writer's last write taken in

  const result = outcome(folder, writer.renamed, agent.acknowledged);
  t.diagnostic(`${result.missingFromLive.length} of ${writer.renamed.length} renamed writes missing from workspace.json, ` +
    `${result.lostOutside.length} lost, ${result.lostAcknowledged.length} acknowledged changes lost, ${result.unreadableCopies} unreadable copies`);
  assert.deepEqual(agent.failed, []);
  assert.deepEqual([result.lostOutside, result.lostAcknowledged], [[], []]);
  assert.ok(!fullSpeed || result.missingFromLive.length <= writer.renamed.length / 100,
    `${result.missingFromLive.length} of ${writer.renamed.length} renamed writes overwritten: ${result.missingFromLive}`);
  assert.ok(result.unreadableCopies <= 5, `${result.unreadableCopies} unreadable copies`);
  assert.equal(stderr(), '');
});
