// send_request, send_adhoc and get_last_response through the MCP SDK client, against an
// HTTP server in this process on 127.0.0.1.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { createServer } from 'node:http';
import { createServer as createTCPServer } from 'node:net';
import { createHash } from 'node:crypto';
import { readFileSync, readdirSync, statSync } from 'node:fs';
import { join } from 'node:path';
import { connect, callTool, temporaryFolder } from './harness.mjs';

// Records what arrives and answers by path.
async function startServer(t) {
  const received = [];
  const server = createServer((req, res) => {
    let body = '';
    req.on('data', (chunk) => { body += chunk; });
    req.on('end', () => {
      received.push({ method: req.method, url: req.url, headers: req.headers, body });
      if (req.url === '/login') {
        res.writeHead(200, { 'Content-Type': 'application/json' });
        res.end(JSON.stringify({ token: 'abc', user: { id: 7 } }));
      } else if (req.url === '/huge') {
        res.writeHead(200, { 'Content-Type': 'text/plain' });
        res.end('x'.repeat(10 * 1024 * 1024 + 1));
      } else if (req.url.startsWith('/text/')) {
        // "é" written as e + combining acute: two code points, one character.
        res.writeHead(200, { 'Content-Type': 'text/plain; charset=utf-8' });
        res.end('e\u0301'.repeat(Number(req.url.slice(6))));
      } else {
        res.writeHead(200, { 'Content-Type': 'application/json', 'X-Echo': 'yes' });
        res.end(JSON.stringify({ method: req.method, url: req.url, authorization: req.headers.authorization ?? null, body }));
      }
    });
  });
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  t.after(() => server.close());
  return { base: `http://127.0.0.1:${server.address().port}`, received };
}

async function setUp(t) {
  const { base, received } = await startServer(t);
  const folder = temporaryFolder(t);
  const { client, stderr } = await connect(t, folder);
  const call = (name, args) => callTool(client, name, args);
  await call('update_collection', { collection: 'DummyJSON', baseUrl: base });
  await call('create_request', { collection: 'DummyJSON', name: 'Local login', method: 'POST', url: '/login', body: '{"u":"{{username}}"}' });
  await call('create_request', {
    collection: 'DummyJSON', name: 'Local me', url: '/me/{{@Local login.body.user.id}}',
    headers: { Authorization: 'Bearer {{@Local login.body.token}}' },
  });
  return { base, received, folder, call, stderr };
}

function fingerprint(folder) {
  const hash = createHash('sha256');
  const walk = (dir) => {
    for (const name of readdirSync(dir).sort()) {
      const path = join(dir, name);
      const info = statSync(path);
      hash.update(`${path}:${info.mtimeMs}:${info.size}\n`);
      if (info.isDirectory()) walk(path); else hash.update(readFileSync(path));
    }
  };
  walk(folder);
  return hash.digest('hex');
}

test('chains a value from the first send into the second and records both', async (t) => {
  const { received, folder, call, stderr } = await setUp(t);
  const login = JSON.parse((await call('send_request', { request: 'Local login' })).text);
  assert.equal(login.status, 200);
  assert.equal(login.statusText, 'OK');
  assert.deepEqual(login.body, { token: 'abc', user: { id: 7 } });
  assert.equal(received[0].body, '{"u":"emilys"}');
  assert.equal(received[0].headers['user-agent'], 'Tessaline/1.0');
  assert.equal(received[0].headers['content-type'], 'application/json');

  const me = JSON.parse((await call('send_request', { request: 'Local me' })).text);
  assert.equal(me.body.url, '/me/7');
  assert.equal(me.body.authorization, 'Bearer abc');
  assert.equal(me.headers['X-Echo'], 'yes');
  assert.match(me.sentAt, /^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$/);
  assert.equal(typeof me.durationMs, 'number');

  const id = JSON.parse((await call('get_request', { request: 'Local me' })).text).id;
  const history = JSON.parse(readFileSync(join(folder, 'history', `${id}.json`), 'utf8'));
  assert.equal(history.length, 1);
  assert.equal(history[0].status, 200);
  assert.deepEqual(JSON.parse(Buffer.from(history[0].body, 'base64').toString()), me.body);

  const last = JSON.parse((await call('get_last_response', { request: 'Local me' })).text);
  assert.deepEqual(last.body, me.body);
  assert.equal(stderr(), '');
});

test('per-call variables and another environment override the active one', async (t) => {
  const { received, call } = await setUp(t);
  await call('set_variable', { key: 'username', value: 'staging-user', environment: 'DummyJSON' });
  await call('set_active_environment', { environment: '' });
  await call('set_variable', { key: 'username', value: 'default-user' });
  await call('send_request', { request: 'Local login', environment: 'dummyjson' });
  await call('send_request', { request: 'Local login', variables: { username: 'call-user' } });
  assert.deepEqual(received.map((r) => r.body), ['{"u":"staging-user"}', '{"u":"call-user"}']);
  assert.deepEqual(await call('send_request', { request: 'Local login', environment: 'Nope' }),
    { text: 'Error: No environment named Nope', isError: true });
});

test('an undefined variable fails the tool and sends nothing', async (t) => {
  const { received, call } = await setUp(t);
  await call('create_request', { collection: 'DummyJSON', name: 'Broken', url: '/{{zeta}}/{{alpha}}/{{zeta}}' });
  assert.deepEqual(await call('send_request', { request: 'Broken' }), { text: 'Error: Undefined variables: alpha, zeta', isError: true });
  assert.equal(received.length, 0);
});

test('cuts bodies after maxBodyChars user-perceived characters', async (t) => {
  const { base, call } = await setUp(t);
  const whole = JSON.parse((await call('send_adhoc', { method: 'get', url: `${base}/text/20000` })).text);
  assert.equal(whole.body, 'e\u0301'.repeat(20000));
  assert.equal(whole.bodyTruncated, undefined);
  assert.equal(whole.bytes, 60000);

  const cut = JSON.parse((await call('send_adhoc', { method: 'GET', url: `${base}/text/20001` })).text);
  assert.equal(cut.body, 'e\u0301'.repeat(20000));
  assert.equal(cut.bodyTruncated, true);
  assert.equal(cut.bodyChars, 20001);

  const none = JSON.parse((await call('send_adhoc', { method: 'GET', url: `${base}/text/3`, maxBodyChars: 0 })).text);
  assert.deepEqual([none.body, none.bodyTruncated, none.bodyChars], ['', true, 3]);
});

test('an unreachable host is reported in the summary, not as a tool error', async (t) => {
  const { call } = await setUp(t);
  const closed = createServer();
  await new Promise((resolve) => closed.listen(0, '127.0.0.1', resolve));
  const port = closed.address().port;
  await new Promise((resolve) => closed.close(resolve));
  const result = await call('send_adhoc', { method: 'GET', url: `http://127.0.0.1:${port}/` });
  assert.equal(result.isError, false);
  const summary = JSON.parse(result.text);
  assert.equal(summary.status, 0);
  assert.equal(summary.statusText, '');
  assert.ok(summary.error.length > 0, 'the error text is given');
  assert.deepEqual(summary.headers, {});
});

test('a body over the limit is kept cut with its real size; a cut header block fails the send only', async (t) => {
  const { base, folder, call } = await setUp(t);
  await call('create_request', { collection: 'DummyJSON', name: 'Huge', url: '/huge' });
  const summary = JSON.parse((await call('send_request', { request: 'Huge', maxBodyChars: 10 })).text);
  assert.equal(summary.bytes, 10485761);
  assert.equal(summary.bodyCut, 'Only the first 10485760 of 10485761 bytes of the body were kept.');
  const id = JSON.parse((await call('get_request', { request: 'Huge' })).text).id;
  const [recorded] = JSON.parse(readFileSync(join(folder, 'history', `${id}.json`), 'utf8'));
  assert.equal(recorded.bodyBytes, 10485761);
  assert.equal(Buffer.from(recorded.body, 'base64').length, 10485760);

  const peer = createTCPServer((socket) => socket.once('data', () => socket.end('HTTP/1.1 200 OK\r\nContent-Ty')));
  await new Promise((resolve) => peer.listen(0, '127.0.0.1', resolve));
  t.after(() => peer.close());
  const cut = JSON.parse((await call('send_adhoc', { method: 'GET', url: `http://127.0.0.1:${peer.address().port}/` })).text);
  assert.equal(cut.status, 0);
  assert.equal(cut.error, "The connection closed inside the response's header block.");
  assert.equal(JSON.parse((await call('send_adhoc', { method: 'GET', url: `${base}/text/3` })).text).status, 200);
});

test('send_adhoc changes no file of the workspace', async (t) => {
  const { base, received, folder, call } = await setUp(t);
  const before = fingerprint(folder);
  const result = JSON.parse((await call('send_adhoc', {
    method: 'patch', url: `${base}/things?x={{username}}`, headers: { 'X-A': '1' }, body: 'a=1&b=x y', bodyKind: 'formURLEncoded',
  })).text);
  assert.equal(result.method, 'PATCH');
  assert.equal(received.at(-1).url, '/things?x=emilys');
  assert.equal(received.at(-1).body, 'a=1&b=x+y');
  assert.equal(received.at(-1).headers['content-type'], 'application/x-www-form-urlencoded');
  assert.equal(fingerprint(folder), before);

  assert.deepEqual(await call('send_adhoc', { method: 'FETCH', url: base }),
    { text: 'Error: Unknown method FETCH. Use one of: GET, POST, PUT, PATCH, DELETE, HEAD, OPTIONS.', isError: true });
});

test('get_last_response of a request never sent', async (t) => {
  const { call } = await setUp(t);
  assert.deepEqual(await call('get_last_response', { request: 'Local me' }), { text: 'Error: No recorded response for Local me', isError: true });
});
