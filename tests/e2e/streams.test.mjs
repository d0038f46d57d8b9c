// Streamed responses (server-sent events, line-delimited JSON) as an agent sees them: events
// listed in place of the body, and a send that ends when the stream has said enough.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { id, localServer, pipe, storedRequest, temporaryFolder } from './harness.mjs';

const pause = (ms) => new Promise((resolve) => setTimeout(resolve, ms));
const eventStream = { 'Content-Type': 'text/event-stream; charset=utf-8' };

// Each path answers as its name says; those that stay open write nothing more until closed.
const routes = {
  '/ends': async (response) => {
    response.writeHead(200, eventStream);
    for (let n = 1; n <= 5; n++) {
      response.write(`id: ${n}\ndata: {"n":${n}}\n\n`);
      await pause(200);
    }
    response.end();
  },
  '/open': (response) => {
    response.writeHead(201, eventStream);
    response.write('event: hello\ndata: one\n\ndata: two\ndata: lines\nretry: 3000\n\n');
    const beat = setInterval(() => response.write(': still here\n\n'), 200);
    response.on('close', () => clearInterval(beat));
  },
  '/trickle': async (response) => {
    response.writeHead(200, eventStream);
    for (let n = 1; n <= 5; n++) {
      if (n > 1) await pause(1000);
      response.write(`data: tick ${n}\n\n`);
    }
    response.end();
  },
  '/endless': (response) => {
    response.writeHead(200, eventStream);
    const beat = setInterval(() => response.write('data: again\n\n'), 100);
    response.on('close', () => clearInterval(beat));
  },
  '/flood': (response) => {
    response.writeHead(200, eventStream);
    response.write(`data: ${'y'.repeat(1 << 20)}\n\n`.repeat(11));
  },
  '/split': async (response) => {
    response.writeHead(200, eventStream);
    for (const piece of ['\uFEFF: hello\r\n', 'event: up', 'date\r\nda', 'ta: {"spl', 'it":true}\r', '\n\r\n', 'data: end']) {
      response.write(piece);
      await pause(60);
    }
    response.end();
  },
  '/huge': (response) => {
    response.writeHead(200, eventStream);
    response.end(`data: ${'x'.repeat(70000)}\n\ndata: small\n\n`);
  },
  '/many': (response) => {
    response.writeHead(200, eventStream);
    response.write(Array.from({ length: 1200 }, (_, n) => `data: ${n}\n\n`).join(''));
  },
  '/lines': (response) => {
    response.writeHead(200, { 'Content-Type': 'application/x-ndjson' });
    response.end('{"a":1}\n\noops\r\n[2]\n');
  },
  '/plain': (response) => {
    response.writeHead(200, { 'Content-Type': 'application/json' });
    response.end('{"ok":true}');
  },
};

const tool = (callID, name, args, meta) => ({ id: callID, method: 'tools/call', params: { name, arguments: args, ...(meta && { _meta: meta }) } });
const summary = (reply) => JSON.parse(reply.result.content[0].text);

// A server on a workspace whose requests, one per route, have the given time-outs (seconds).
async function setUp(t, timeouts = {}) {
  const closed = new Set();
  const { base } = await localServer(t, ({ target }, response) => {
    response.on('close', () => closed.add(target));
    routes[target](response);
  });
  const folder = temporaryFolder(t);
  const items = Object.keys(routes).map((path) => storedRequest(path.slice(1), `${base}${path}`, { timeout: timeouts[path] ?? 10 }));
  writeFileSync(join(folder, 'workspace.json'), JSON.stringify({ version: 1, environments: [], collections: [{ id: id(), name: 'Streams', items }] }));
  const server = pipe(t, folder);
  let calls = 0;
  const send = async (request, args = {}) => {
    const callID = ++calls;
    server.send(tool(callID, 'send_request', { request, ...args }));
    return summary(await server.reply(callID));
  };
  return { server, folder, send, closed, requestID: (name) => items.find((item) => item.request._0.name === name).request._0.id };
}

test('a stream that ends, stays open or trickles ends the send with its events and why', { timeout: 30000 }, async (t) => {
  const { server, send, closed } = await setUp(t, { '/open': 1, '/trickle': 2, '/endless': 0.8, '/flood': 1 });

  const ended = await send('ends');
  assert.equal(ended.status, 200);
  assert.deepEqual(ended.events, [1, 2, 3, 4, 5].map((n) => ({ event: 'message', id: `${n}`, data: { n } })));
  assert.equal(ended.streamEnd, 'The server ended the stream after 5 events.');
  assert.equal('body' in ended || 'error' in ended, false);

  // The comments every 200 ms keep the connection busy, but only events hold the send.
  const open = await send('open');
  assert.deepEqual([open.status, open.statusText, open.error], [201, 'Created', undefined]);
  assert.equal(open.headers['Content-Type'], 'text/event-stream; charset=utf-8');
  assert.deepEqual(open.events, [{ event: 'hello', data: 'one' }, { event: 'message', data: 'two\nlines', retry: 3000 }]);
  assert.equal(open.streamEnd, 'The stream was still open with no event for 750 ms; the send ended there.');
  await pause(100);
  assert.equal(closed.has('/open'), true);

  // An event a second, for twice the time-out: neither idle nor slow.
  const trickled = await send('trickle');
  assert.deepEqual(trickled.events.map(({ data }) => data), ['tick 1', 'tick 2', 'tick 3', 'tick 4', 'tick 5']);
  assert.equal(trickled.streamEnd, 'The server ended the stream after 5 events.');

  const endless = await send('endless');
  assert.equal(endless.streamEnd, 'The stream was still open after 3200 ms, four times the request\'s time-out; the send ended there.');
  const flood = await send('flood');
  assert.equal(flood.streamEnd, 'The stream reached 10485760 bytes, the most a send keeps; the send ended there.');
  assert.equal(flood.bodyCut.startsWith('Only the first 10485760 of '), true);

  const many = await send('many', { maxBodyChars: 100000 });
  assert.deepEqual([many.events.length, many.events.at(-1).data], [1000, 999]);
  assert.equal(many.streamEnd, 'The stream reached 1000 events, the most a send keeps; the send ended there.');
  assert.deepEqual(await server.end(), { status: 0, stderr: '' });
});

test('events follow the parsing rules across network reads, and are bounded', { timeout: 20000 }, async (t) => {
  const { server, send } = await setUp(t);

  const split = await send('split');
  assert.deepEqual(split.events, [
    { event: 'update', data: { split: true } },
    { event: 'message', data: 'end', incomplete: 'The stream ended before this event\'s blank line.' },
  ]);
  assert.equal(split.streamEnd, 'The server ended the stream after 2 events.');

  const huge = await send('huge', { maxBodyChars: 70000 });
  assert.equal(huge.events[0].data, 'x'.repeat(65536));
  assert.equal(huge.events[0].dataCut, 'Only the first 65536 of 70000 bytes of this event\'s data were kept.');
  assert.deepEqual(huge.events[1], { event: 'message', data: 'small' });
  assert.equal(huge.bytes, 70021);
  const cut = await send('huge');
  assert.deepEqual(cut.events, []);
  assert.equal(cut.eventsCut, 'Only the first 0 of 2 events are shown: their data reaches the limit of 20000 characters.');

  const lines = await send('lines');
  assert.deepEqual(lines.events, [{ data: { a: 1 } }, { data: 'oops', error: 'Not valid JSON.' }, { data: [2] }]);
  assert.equal(lines.streamEnd, 'The server ended the stream after 3 events.');

  const plain = await send('plain');
  assert.deepEqual([plain.body, 'events' in plain, 'streamEnd' in plain], [{ ok: true }, false, false]);
  assert.deepEqual(await server.end(), { status: 0, stderr: '' });
});

test('progress counts events; a cancel mid-stream records what arrived, which get_last_response lists', { timeout: 20000 }, async (t) => {
  const { server, folder, closed, requestID } = await setUp(t);
  const isProgress = ({ method }) => method === 'notifications/progress';
  server.send(tool(1, 'send_request', { request: 'open' }, { progressToken: 'stream-1' }));
  const counted = await server.next((line) => isProgress(line) && line.params.message === '2 events received');
  assert.equal(counted.params.progressToken, 'stream-1');
  server.send({ method: 'notifications/cancelled', params: { requestId: 1 } });
  while (!closed.has('/open')) await pause(20);

  server.send(tool(2, 'get_last_response', { request: 'open' }));
  const last = summary(await server.reply(2));
  assert.deepEqual([last.status, last.events.length], [201, 2]);
  assert.equal(last.streamEnd, 'The send was cancelled after 2 events; the stream was closed there.');
  assert.deepEqual(await server.end(), { status: 0, stderr: '' });
  assert.equal(server.lines.some((line) => line.id === 1), false);
  const [recorded] = JSON.parse(readFileSync(join(folder, 'history', `${requestID('open')}.json`), 'utf8'));
  assert.deepEqual([recorded.status, recorded.error, recorded.streamEnd], [201, undefined, last.streamEnd]);
});
