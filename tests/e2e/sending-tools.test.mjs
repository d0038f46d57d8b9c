// send_request, send_adhoc and get_last_response against an HTTP server in this process.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { createServer } from 'node:net';
import { readdirSync, statSync } from 'node:fs';
import { join } from 'node:path';
import { connect, localServer, temporaryFolder } from './harness.mjs';

// Answers by path: a login, a body one byte over the kept limit, N characters of two code
// points each, and otherwise an echo of what arrived.
function answer({ target, headers }, response) {
  const [type, body] = target === '/login' ? ['application/json', JSON.stringify({ token: 'abc', user: { id: 7 } })]
    : target === '/huge' ? ['application/octet-stream', 'x'.repeat(10 * 1024 * 1024 + 1)]
    : target.startsWith('/text/') ? ['text/plain; charset=utf-8', 'e\u0301'.repeat(Number(target.slice(6)))]
    : ['application/json', JSON.stringify({ url: target, authorization: headers.authorization ?? null })];
  response.writeHead(200, { 'Content-Type': type, 'X-Echo': 'yes' });
  response.end(body);
}

async function setUp(t) {
  const { base, arrivals } = await localServer(t, answer);
  const folder = temporaryFolder(t);
  const { call, stderr } = await connect(t, folder);
  const send = async (name, args) => JSON.parse((await call(name, args)).text);
  await call('update_collection', { collection: 'DummyJSON', baseUrl: base });
  await call('create_request', { collection: 'DummyJSON', name: 'Local login', method: 'POST', url: '/login', body: '{"u":"{{username}}"}' });
  await call('create_request',
    { collection: 'DummyJSON', name: 'Local me', url: '/me/{{@Local login.body.user.id}}', headers: { Authorization: 'Bearer {{@Local login.body.token}}' } });
  return { base, arrivals, folder, call, send, stderr };
}

// Every file and folder with its size and modification time.
const fingerprint = (folder) => readdirSync(folder, { recursive: true }).sort()
  .map((name) => { const { size, mtimeMs } = statSync(join(folder, name)); return `${name} ${size} ${mtimeMs}`; });

test('chains a value from the first send into the second and records both', async (t) => {
  const { arrivals, send, stderr } = await setUp(t);
  const login = await send('send_request', { request: 'Local login' });
  assert.deepEqual([login.status, login.statusText, login.body], [200, 'OK', { token: 'abc', user: { id: 7 } }]);
  assert.equal(arrivals[0].body.toString(), '{"u":"emilys"}');

  const me = await send('send_request', { request: 'Local me' });
  assert.deepEqual([me.body, me.headers['X-Echo'], typeof me.durationMs], [{ url: '/me/7', authorization: 'Bearer abc' }, 'yes', 'number']);
  assert.match(me.sentAt, /^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$/);

  assert.deepEqual(await send('get_last_response', { request: 'Local me' }), me);
  assert.equal(stderr(), '');
});

test('per-call variables and another environment override the active one; tools that cannot send say why', async (t) => {
  const { base, arrivals, call } = await setUp(t);
  await call('set_variable', { key: 'username', value: 'staging-user', environment: 'DummyJSON' });
  await call('set_active_environment', { environment: '' });
  await call('set_variable', { key: 'username', value: 'default-user' });
  await call('send_request', { request: 'Local login', environment: 'dummyjson' });
  await call('send_request', { request: 'Local login', variables: { username: 'call-user' } });
  assert.deepEqual(arrivals.map((r) => r.body.toString()), ['{"u":"staging-user"}', '{"u":"call-user"}']);
  assert.deepEqual(await call('send_request', { request: 'Local login', environment: 'Nope' }),
    { text: 'Error: No environment named Nope', isError: true });
  await call('create_request', { collection: 'DummyJSON', name: 'Broken', url: '/{{zeta}}/{{alpha}}/{{zeta}}' });
  assert.deepEqual(await call('send_request', { request: 'Broken' }), { text: 'Error: Undefined variables: alpha, zeta', isError: true });
  assert.deepEqual(await call('send_adhoc', { method: 'FETCH', url: base }),
    { text: 'Error: Unknown method FETCH. Use one of: GET, POST, PUT, PATCH, DELETE, HEAD, OPTIONS.', isError: true });
  assert.deepEqual(await call('get_last_response', { request: 'Local me' }), { text: 'Error: No recorded response for Local me', isError: true });
  assert.equal(arrivals.length, 2);
});

test('cuts bodies after maxBodyChars user-perceived characters; one over the kept limit keeps its real size', async (t) => {
  const { base, call, send } = await setUp(t);
  const shown = async (args) => {
    const { body, bodyTruncated, bodyChars, bytes } = await send('send_adhoc', { method: 'get', ...args });
    return [body, bodyTruncated, bodyChars, bytes];
  };
  assert.deepEqual(await shown({ url: `${base}/text/20000` }), ['e\u0301'.repeat(20000), undefined, undefined, 60000]);
  assert.deepEqual(await shown({ url: `${base}/text/20001` }), ['e\u0301'.repeat(20000), true, 20001, 60003]);
  assert.deepEqual(await shown({ url: `${base}/text/3`, maxBodyChars: 0 }), ['', true, 3, 9]);

  await call('create_request', { collection: 'DummyJSON', name: 'Huge', url: '/huge' });
  const cut = [10485761, 'Only the first 10485760 of 10485761 bytes of the body were kept.'];
  for (const tool of ['send_request', 'get_last_response']) {
    const { bytes, bodyCut } = await send(tool, { request: 'Huge', maxBodyChars: 10 });
    assert.deepEqual([bytes, bodyCut], cut, tool);
  }
});

// A failed exchange is an answer that carries its error, not a failed tool.
test('send_adhoc sends what it is given, even after a failed exchange, and changes no file of the workspace', async (t) => {
  const { base, arrivals, folder, call, send } = await setUp(t);
  const peer = createServer((socket) => socket.once('data', () => socket.end('HTTP/1.1 200 OK\r\nContent-Ty')));
  await new Promise((resolve) => peer.listen(0, '127.0.0.1', resolve));
  t.after(() => peer.close());
  const before = fingerprint(folder);
  const { text, isError } = await call('send_adhoc', { method: 'GET', url: `http://127.0.0.1:${peer.address().port}/` });
  const { status, statusText, headers, error } = JSON.parse(text);
  assert.deepEqual({ isError, status, statusText, headers, error },
    { isError: false, status: 0, statusText: '', headers: {}, error: "The connection closed inside the response's header block." });

  const { method } = await send('send_adhoc',
    { method: 'patch', url: `${base}/things?x={{username}}`, headers: { 'X-A': '1' }, body: 'a=1&b=x y', bodyKind: 'formURLEncoded' });
  const [sent] = arrivals;
  assert.deepEqual([method, sent.method, sent.target, sent.headers['x-a'], sent.body.toString(), sent.headers['content-type']],
    ['PATCH', 'PATCH', '/things?x=emilys', '1', 'a=1&b=x+y', 'application/x-www-form-urlencoded']);
  assert.deepEqual(fingerprint(folder), before);
});
