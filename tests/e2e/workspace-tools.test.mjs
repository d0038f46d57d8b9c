// The workspace tools through the MCP SDK client, on the sample that a first run writes, with
// workspace.json read back after each edit.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { join } from 'node:path';
import { connect, temporaryFolder } from './harness.mjs';

const onDisk = (folder) => JSON.parse(readFileSync(join(folder, 'workspace.json'), 'utf8'));
const idIn = (text) => text.match(/[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}/)[0];

const setUp = async (t, folder = temporaryFolder(t)) => ({ folder, ...(await connect(t, folder)) });

test('lists collections, requests and environments, masking what looks secret, and finds requests by id or name', async (t) => {
  const { call } = await setUp(t);
  const created = await call('create_request', { collection: 'Shop', folder: 'Orders', name: 'List orders', url: '/orders' });
  assert.match(created.text, /^Created request List orders in Shop \/ Orders\. id: /);
  const { id: _, ...shop } = JSON.parse((await call('list_collections')).text)[1];
  assert.deepEqual(shop, { name: 'Shop', requests: 1, baseUrl: '', variables: [], defaultAuth: 'none' });
  assert.deepEqual(JSON.parse((await call('list_requests', { collection: 'shop' })).text),
    [{ id: idIn(created.text), name: 'List orders', method: 'GET', path: 'Shop / Orders', url: '/orders' }]);
  assert.deepEqual(await call('list_requests', { collection: 'Nope' }),
    { text: 'Error: No collection named Nope. Use list_collections.', isError: true });

  const secret = { apiKey: true, X_TOKEN: true, db_password: true, AUTHORIZATION: true, monkey: true, region: false };
  for (const key of Object.keys(secret)) await call('set_variable', { key, value: 'v' });
  const masked = Object.fromEntries(Object.entries(secret).map(([key, isSecret]) => [key, isSecret ? '••••••' : 'v']));
  assert.deepEqual(JSON.parse((await call('list_environments')).text)[0].variables, { username: 'emilys', password: '••••••', ...masked });
  assert.equal(JSON.parse((await call('list_environments', { reveal: true })).text)[0].variables.password, 'emilyspass');

  // By name, ignoring case and matching a prefix, unless the name is ambiguous.
  const admin = idIn((await call('create_request', { collection: 'Admin', name: 'login', url: '/login' })).text);
  const sample = JSON.parse((await call('list_requests', { collection: 'DummyJSON' })).text).find((r) => r.name === 'Login').id;
  assert.deepEqual(await call('get_request', { request: 'LOGIN' }),
    { text: `Error: 2 requests are named LOGIN; use an id: ${sample}, ${admin}`, isError: true });
  assert.deepEqual(await call('get_request', { request: 'products' }),
    { text: 'Error: No request matches products. Use list_requests.', isError: true });
  assert.deepEqual(await call('get_request', {}), { text: 'Error: request is required (id or name)', isError: true });
  assert.equal(JSON.parse((await call('get_request', { request: admin.toLowerCase() })).text).url, '/login');
  assert.deepEqual(JSON.parse((await call('get_request', { request: 'RANDOM QUO' })).text).url, '/quotes/random');
});

test('edits requests, environments, variables and collections, saving each change at once', async (t) => {
  const { call, folder } = await setUp(t);
  const created = await call('create_request', { collection: 'New API', folder: 'Users', name: 'Create user', method: 'post',
    url: '{{baseUrl}}/users', query: { dry: 'true' }, body: '{"name":"a"}', bearerToken: '{{token}}' });
  const saved = () => onDisk(folder).collections[1].items[0].folder._0.items;
  const request = saved()[0].request._0;
  assert.deepEqual([request.id, request.method, request.body, request.auth.kind, request.auth.token, request.query[0].value],
    [idIn(created.text), 'POST', { kind: 'json', raw: '{"name":"a"}', form: [] }, 'bearer', '{{token}}', 'true']);

  await call('update_request', { request: request.id, name: 'Create account', bodyKind: 'formURLEncoded', body: 'a=1&b=x%26y' });
  const changed = saved()[0].request._0;
  assert.deepEqual([changed.name, changed.query.length, changed.body.form.map((f) => [f.key, f.value])],
    ['Create account', 1, [['a', '1'], ['b', 'x&y']]]);
  assert.deepEqual(await call('update_request', { request: request.id, method: 'FETCH' }),
    { text: 'Error: Unknown method FETCH. Use one of: GET, POST, PUT, PATCH, DELETE, HEAD, OPTIONS.', isError: true });

  assert.match((await call('delete_request', { request: 'Create account' })).text, /^Deleted Create account/);
  assert.deepEqual(saved(), []);

  assert.equal((await call('set_active_environment', { environment: '' })).text, 'Active environment cleared.');
  assert.equal(onDisk(folder).activeEnvironmentID, undefined);
  assert.deepEqual(await call('set_variable', { key: 'k' }), { text: 'Error: key and value are required', isError: true });
  assert.equal((await call('set_variable', { key: 'host', value: 'h1' })).text, 'Set host in environment Default');
  assert.equal((await call('set_active_environment', { environment: 'dummyjson' })).text, 'Active environment: DummyJSON');
  assert.equal((await call('set_variable', { key: 'region', value: 'us' })).text, 'Set region in environment DummyJSON');
  assert.equal((await call('set_variable', { key: 'v', value: '2', environment: 'default' })).text, 'Set v in environment Default');
  assert.equal((await call('set_variable', { key: 'region', value: 'ap', collection: 'dummyjson' })).text,
    'Set region on collection DummyJSON');
  assert.deepEqual(await call('set_active_environment', { environment: 'Nope' }), { text: 'Error: No environment named Nope', isError: true });
  const disk = onDisk(folder);
  const values = (rows) => Object.fromEntries(rows.map((v) => [v.key, v.value]));
  assert.equal(disk.activeEnvironmentID, disk.environments[0].id);
  assert.deepEqual(disk.environments.map((e) => [e.name, values(e.variables)]),
    [['DummyJSON', { username: 'emilys', password: 'emilyspass', region: 'us' }], ['Default', { host: 'h1', v: '2' }]]);
  assert.equal(values(disk.collections[0].variables).region, 'ap');

  const updated = await call('update_collection', { collection: 'DUMMYJSON', name: 'Store', baseUrl: 'https://store.test', notes: 'hi' });
  assert.match(updated.text, /^Updated collection Store/);
  assert.deepEqual(['name', 'baseURL', 'notes'].map((key) => onDisk(folder).collections[0][key]), ['Store', 'https://store.test', 'hi']);
});
