// What a host sees while calls take long: methods answered during a send, sends side by side
// with their replies matched by id, edits kept in order around them, cancellation, progress
// notifications, and the end of input with sends in flight.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { join } from 'node:path';
import { localServer, pipe, temporaryFolder } from './harness.mjs';

const deferred = () => {
  let resolve;
  const promise = new Promise((done) => { resolve = done; });
  return { promise, resolve };
};

// A server that answers a path only when the test releases it; `closed(path)` resolves when the
// connection of a request for it closed before its answer was written.
async function heldServer(t) {
  const held = new Map();
  const entry = (path) => {
    if (!held.has(path)) held.set(path, { arrived: deferred(), closed: deferred() });
    return held.get(path);
  };
  const { base, arrivals } = await localServer(t, ({ target }, response) => {
    const request = entry(target);
    request.response = response;
    response.on('close', () => { if (!response.writableFinished) request.closed.resolve(); });
    request.arrived.resolve();
  });
  return {
    base,
    arrivals,
    arrived: (path) => entry(path).arrived.promise,
    closed: (path) => entry(path).closed.promise,
    release: async (path, headers = {}, body = path) => {
      await entry(path).arrived.promise;
      entry(path).response.writeHead(200, headers).end(body);
    },
  };
}

// Every test here waits for lines that a fault may never write: it fails instead of hanging.
const tool = (id, name, args, meta) => ({ id, method: 'tools/call', params: { name, arguments: args, ...(meta && { _meta: meta }) } });
const summary = (reply) => JSON.parse(reply.result.content[0].text);

// A workspace whose first collection points at `base`, with a saved request "Held" at /held/{{v}}.
async function setUp(t, base) {
  const folder = temporaryFolder(t);
  const server = pipe(t, folder);
  server.send(tool('c1', 'update_collection', { collection: 'DummyJSON', baseUrl: base }));
  server.send(tool('c2', 'create_request', { collection: 'DummyJSON', name: 'Held', url: '/held/{{v}}' }));
  server.send(tool('c3', 'set_variable', { key: 'v', value: '1' }));
  for (const id of ['c1', 'c2', 'c3']) assert.equal((await server.reply(id)).result.isError, false);
  return { folder, server };
}

test('answers ping and tools/list during a send, and replies to parallel sends by id as they end', { timeout: 10000 }, async (t) => {
  const peer = await heldServer(t);
  const server = pipe(t, temporaryFolder(t));
  server.send(tool(1, 'send_adhoc', { method: 'GET', url: `${peer.base}/a` }));
  await peer.arrived('/a');
  server.send({ id: 2, method: 'ping' });
  server.send({ id: 3, method: 'tools/list' });
  assert.deepEqual(await server.reply(2), { id: 2, jsonrpc: '2.0', result: {} });
  assert.equal((await server.reply(3)).result.tools.length, 17);

  server.send(tool(4, 'send_adhoc', { method: 'GET', url: `${peer.base}/b` }));
  server.send(tool('five', 'send_adhoc', { method: 'GET', url: `${peer.base}/c` }));
  await Promise.all(['/b', '/c'].map(peer.arrived));
  for (const [path, id] of [['/c', 'five'], ['/a', 1], ['/b', 4]]) {
    await peer.release(path);
    await server.reply(id);
  }
  const sends = server.lines.filter(({ id }) => [1, 4, 'five'].includes(id));
  assert.deepEqual(sends.map(({ id }) => id), ['five', 1, 4]);
  assert.deepEqual(sends.map((reply) => summary(reply).body), ['/c', '/a', '/b']);
  assert.deepEqual(await server.end(), { status: 0, stderr: '' });
});

test('edits and sends keep the order in which they arrived', { timeout: 10000 }, async (t) => {
  const peer = await heldServer(t);
  const { server } = await setUp(t, peer.base);
  server.send(tool(1, 'send_request', { request: 'Held' }));
  server.send(tool(2, 'set_variable', { key: 'v', value: '2' }));
  server.send(tool(3, 'send_request', { request: 'Held' }));
  server.send(tool(4, 'update_request', { request: 'Held', url: '/held/renamed' }));
  server.send(tool(5, 'get_request', { request: 'Held' }));
  await Promise.all(['/held/1', '/held/2'].map(peer.arrived));
  assert.match((await server.reply(5)).result.content[0].text, /"url": "\/held\/renamed"/);
  await Promise.all(['/held/1', '/held/2'].map((path) => peer.release(path)));
  assert.deepEqual([summary(await server.reply(1)).body, summary(await server.reply(3)).body], ['/held/1', '/held/2']);
  assert.deepEqual(await server.end(), { status: 0, stderr: '' });
});

test('a cancelled call that waits for a free exchange never starts and gets no reply', { timeout: 10000 }, async (t) => {
  const peer = await heldServer(t);
  const server = pipe(t, temporaryFolder(t));
  const busy = Array.from({ length: 8 }, (_, i) => `/busy/${i}`);
  busy.forEach((path, i) => server.send(tool(i, 'send_adhoc', { method: 'GET', url: peer.base + path })));
  await Promise.all(busy.map(peer.arrived));
  server.send(tool(8, 'send_adhoc', { method: 'GET', url: `${peer.base}/ninth` }));
  server.send({ method: 'notifications/cancelled', params: { requestId: 8, reason: 'changed my mind' } });
  server.send({ id: 9, method: 'ping' });
  await server.reply(9);
  await Promise.all(busy.map((path) => peer.release(path)));
  assert.deepEqual(await server.end(), { status: 0, stderr: '' });
  assert.deepEqual(server.lines.map(({ id }) => id).sort(), [0, 1, 2, 3, 4, 5, 6, 7, 9]);
  assert.deepEqual(peer.arrivals.map(({ target }) => target).sort(), busy);
});

// Needs the transfer engine to watch the cancel flag while it waits for the response.
test('a cancelled exchange closes its connection, is recorded as cancelled and gets no reply', { timeout: 10000 }, async (t) => {
  const peer = await heldServer(t);
  const { folder, server } = await setUp(t, peer.base);
  server.send(tool(' 7 ', 'get_request', { request: 'Held' }));
  const requestID = JSON.parse((await server.reply(' 7 ')).result.content[0].text).id;
  server.send(tool(1.5, 'send_request', { request: 'Held' }));
  await peer.arrived('/held/1');
  server.send({ method: 'notifications/cancelled', params: { requestId: 1.5 } });
  await peer.closed('/held/1');
  server.send({ id: 2, method: 'ping' });
  await server.reply(2);
  server.send({ method: 'notifications/cancelled', params: { requestId: 2 } });  // finished: ignored
  assert.deepEqual(await server.end(), { status: 0, stderr: '' });
  assert.equal(server.lines.some(({ id }) => id === 1.5), false);
  const [recorded] = JSON.parse(readFileSync(join(folder, 'history', `${requestID}.json`), 'utf8'));
  assert.deepEqual([recorded.status, recorded.error], [0, 'The request was cancelled.']);
});

test('a send with a progress token reports progress before its reply; one without reports none', { timeout: 10000 }, async (t) => {
  const peer = await heldServer(t);
  const server = pipe(t, temporaryFolder(t));
  const isProgress = ({ method }) => method === 'notifications/progress';
  server.send(tool(1, 'send_adhoc', { method: 'GET', url: `${peer.base}/quiet` }));
  await peer.arrived('/quiet');
  server.send(tool(2, 'send_adhoc', { method: 'GET', url: `${peer.base}/watched` }, { progressToken: 'tok-1' }));
  const first = await server.next(isProgress);
  assert.deepEqual(first.params, { progressToken: 'tok-1', progress: 0, message: 'Waiting for the first byte' });
  await Promise.all(['/quiet', '/watched'].map((path) => peer.release(path)));
  await Promise.all([1, 2].map(server.reply));
  assert.deepEqual(await server.end(), { status: 0, stderr: '' });
  assert.deepEqual(server.lines.filter(isProgress).map(({ params }) => params.progressToken), ['tok-1']);
  assert.equal(server.lines.findIndex(isProgress) < server.lines.findIndex(({ id }) => id === 2), true);
});

// Needs the transfer engine's progress callback.
test('progress rises at least once a second while a body trickles in', { timeout: 10000 }, async (t) => {
  const total = 5000;
  const { base } = await localServer(t, (_request, response) => {
    response.writeHead(200, { 'Content-Length': total });
    let sent = 0;
    const timer = setInterval(() => {
      sent += 1000;
      if (sent < total) return response.write('x'.repeat(1000));
      clearInterval(timer);
      response.end('x'.repeat(1000));
    }, 600);
  });
  const server = pipe(t, temporaryFolder(t));
  server.send(tool(1, 'send_adhoc', { method: 'GET', url: `${base}/slow` }, { progressToken: 42 }));
  await server.reply(1);
  const progress = server.lines.filter(({ method }) => method === 'notifications/progress').map(({ params }) => params);
  assert.equal(progress.length >= 4, true);
  assert.equal(progress.every((params, i) => i === 0 || params.progress > progress[i - 1].progress), true);
  assert.deepEqual(progress.at(-1).total, total);
  assert.match(progress.at(-1).message, /^\d{1,3}(,\d{3})* of 5,000 bytes received$/);
  assert.deepEqual(await server.end(), { status: 0, stderr: '' });
});

test('at the end of input every send already read is answered, then the process exits 0', { timeout: 10000 }, async (t) => {
  const { base } = await localServer(t, (_request, response) => setTimeout(() => response.end('late'), 300));
  const server = pipe(t, temporaryFolder(t));
  for (const id of [1, 2, 3]) server.send(tool(id, 'send_adhoc', { method: 'GET', url: `${base}/${id}` }));
  assert.deepEqual(await server.end(), { status: 0, stderr: '' });
  assert.deepEqual(server.lines.map(({ id }) => id).sort(), [1, 2, 3]);
  assert.deepEqual(server.lines.map((reply) => summary(reply).body), ['late', 'late', 'late']);
});
