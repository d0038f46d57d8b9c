// The ten workspace tools through the MCP SDK client, with workspace.json checked on disk
// after each edit, and the folder shared with another writer.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { readFileSync, writeFileSync, renameSync, readdirSync } from 'node:fs';
import { join } from 'node:path';
import { randomUUID } from 'node:crypto';
import { connect, callTool, temporaryFolder } from './harness.mjs';

const onDisk = (folder) => JSON.parse(readFileSync(join(folder, 'workspace.json'), 'utf8'));
const upper = () => randomUUID().toUpperCase();

function kv(key, value) {
  return { id: upper(), key, value, enabled: true };
}

function request(name, extra = {}) {
  return {
    request: {
      _0: {
        id: upper(), name, method: 'GET', url: `/${name.toLowerCase()}`, query: [], headers: [],
        body: { kind: 'none', raw: '', form: [] },
        auth: { kind: 'none', token: '', username: '', password: '', apiKeyName: 'X-API-Key', apiKeyValue: '', apiKeyIn: 'header' },
        notes: '', followRedirects: true, timeout: 30, ...extra,
      },
    },
  };
}

// A small workspace written before the server starts: two collections with a Login each,
// a folder, and two environments.
function seed(folder) {
  const workspace = {
    version: 1,
    collections: [
      {
        id: upper(), name: 'Shop', baseURL: 'https://shop.test', variables: [kv('region', 'eu')],
        items: [request('Login'), { folder: { _0: { id: upper(), name: 'Orders', items: [request('List orders'), request('Logout')] } } }],
      },
      { id: upper(), name: 'Admin', items: [request('login')] },
    ],
    environments: [
      { id: upper(), name: 'Staging', variables: [kv('apiKey', 'k1'), kv('X_TOKEN', 't'), kv('db_password', 'p'), kv('AUTHORIZATION', 'a'), kv('monkey', 'm'), kv('region', 'eu')] },
      { id: upper(), name: 'Production', variables: [] },
    ],
  };
  writeFileSync(join(folder, 'workspace.json'), JSON.stringify(workspace, null, 2));
  return workspace;
}

test('lists collections, requests and environments', async (t) => {
  const folder = temporaryFolder(t);
  const seeded = seed(folder);
  const { client, stderr } = await connect(t, folder);

  const collections = JSON.parse((await callTool(client, 'list_collections')).text);
  assert.deepEqual(collections[0], {
    id: seeded.collections[0].id, name: 'Shop', requests: 3, baseUrl: 'https://shop.test', variables: ['region'], defaultAuth: 'none',
  });

  const requests = JSON.parse((await callTool(client, 'list_requests', { collection: 'shop' })).text);
  assert.deepEqual(requests.map((r) => [r.name, r.method, r.path]), [
    ['Login', 'GET', 'Shop'], ['List orders', 'GET', 'Shop / Orders'], ['Logout', 'GET', 'Shop / Orders'],
  ]);
  const missing = await callTool(client, 'list_requests', { collection: 'Nope' });
  assert.deepEqual(missing, { text: 'Error: No collection named Nope. Use list_collections.', isError: true });

  const environments = JSON.parse((await callTool(client, 'list_environments')).text);
  assert.deepEqual(environments[0].variables, {
    apiKey: '••••••', X_TOKEN: '••••••', db_password: '••••••', AUTHORIZATION: '••••••', monkey: '••••••', region: 'eu',
  });
  const revealed = JSON.parse((await callTool(client, 'list_environments', { reveal: true })).text);
  assert.equal(revealed[0].variables.apiKey, 'k1');
  assert.equal(stderr(), '');
});

test('finds requests by id, by name ignoring case, and refuses ambiguous names', async (t) => {
  const folder = temporaryFolder(t);
  const seeded = seed(folder);
  const { client } = await connect(t, folder);
  const ids = [seeded.collections[0].items[0].request._0.id, seeded.collections[1].items[0].request._0.id];

  const ambiguous = await callTool(client, 'get_request', { request: 'LOGIN' });
  assert.deepEqual(ambiguous, { text: `Error: 2 requests are named LOGIN; use an id: ${ids.join(', ')}`, isError: true });
  const partial = await callTool(client, 'get_request', { request: 'log' });
  assert.deepEqual(partial, { text: 'Error: No request matches log. Use list_requests.', isError: true });
  const byCollectionId = await callTool(client, 'get_request', { request: seeded.collections[0].id });
  assert.equal(byCollectionId.text, `Error: No request matches ${seeded.collections[0].id}. Use list_requests.`);
  assert.deepEqual(await callTool(client, 'get_request', {}), { text: 'Error: request is required (id or name)', isError: true });

  const byId = JSON.parse((await callTool(client, 'get_request', { request: ids[1].toLowerCase() })).text);
  assert.equal(byId.id, ids[1]);
  const unique = JSON.parse((await callTool(client, 'get_request', { request: 'list ORD' })).text);
  assert.deepEqual(unique, {
    id: seeded.collections[0].items[1].folder._0.items[0].request._0.id, name: 'List orders', method: 'GET', url: '/list orders',
    query: {}, headers: {}, body: { kind: 'none' }, auth: { kind: 'none' }, followRedirects: true, timeout: 30, notes: '',
  });
});

test('creates, updates and deletes requests, saving each change at once', async (t) => {
  const folder = temporaryFolder(t);
  seed(folder);
  const { client } = await connect(t, folder);

  const created = await callTool(client, 'create_request', {
    collection: 'New API', folder: 'Users', name: 'Create user', method: 'post', url: '{{baseUrl}}/users',
    query: { dry: 'true' }, headers: { 'X-Trace': '1' }, body: '{"name":"a"}', bearerToken: '{{token}}', notes: 'n',
  });
  assert.equal(created.isError, false);
  const id = created.text.match(/[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}/)[0];
  let disk = onDisk(folder);
  const api = disk.collections.find((c) => c.name === 'New API');
  assert.equal(api.icon, 'square.stack.3d.up.fill');
  assert.equal(api.color, 'indigo');
  const saved = api.items[0].folder._0.items[0].request._0;
  assert.equal(api.items[0].folder._0.name, 'Users');
  assert.equal(saved.id, id);
  assert.equal(saved.method, 'POST');
  assert.deepEqual(saved.body, { kind: 'json', raw: '{"name":"a"}', form: [] });
  assert.equal(saved.auth.kind, 'bearer');
  assert.equal(saved.auth.token, '{{token}}');
  assert.deepEqual(saved.query.map((q) => [q.key, q.value, q.enabled]), [['dry', 'true', true]]);

  const updated = await callTool(client, 'update_request', {
    request: id, name: 'Create account', headers: { Accept: 'application/json' }, bodyKind: 'formURLEncoded', body: 'a=1&b=x%26y',
  });
  assert.equal(updated.isError, false);
  disk = onDisk(folder);
  const changed = disk.collections.find((c) => c.name === 'New API').items[0].folder._0.items[0].request._0;
  assert.equal(changed.name, 'Create account');
  assert.deepEqual(changed.headers.map((h) => h.key), ['Accept']);
  assert.deepEqual(changed.query.map((q) => q.key), ['dry']);
  assert.equal(changed.body.kind, 'formURLEncoded');
  assert.deepEqual(changed.body.form.map((f) => [f.key, f.value]), [['a', '1'], ['b', 'x&y']]);

  const noBody = await callTool(client, 'update_request', { request: id, bodyKind: 'none' });
  assert.equal(noBody.isError, false);
  assert.equal(onDisk(folder).collections.find((c) => c.name === 'New API').items[0].folder._0.items[0].request._0.body.kind, 'none');
  const badMethod = await callTool(client, 'update_request', { request: id, method: 'FETCH' });
  assert.deepEqual(badMethod, { text: 'Error: Unknown method FETCH. Use one of: GET, POST, PUT, PATCH, DELETE, HEAD, OPTIONS.', isError: true });

  const deleted = await callTool(client, 'delete_request', { request: 'Create account' });
  assert.match(deleted.text, /^Deleted Create account/);
  assert.deepEqual(onDisk(folder).collections.find((c) => c.name === 'New API').items[0].folder._0.items, []);
  const versions = readdirSync(join(folder, 'versions'));
  assert.ok(versions.some((name) => name.includes('Before%20deleting%20%E2%80%9CCreate%20account%E2%80%9D')), versions.join('\n'));
});

test('switches environments and sets variables', async (t) => {
  const folder = temporaryFolder(t);
  const seeded = seed(folder);
  const { client } = await connect(t, folder);

  assert.deepEqual(await callTool(client, 'set_variable', { key: 'k' }), { text: 'Error: key and value are required', isError: true });
  assert.equal((await callTool(client, 'set_variable', { key: 'host', value: 'h1' })).text, 'Set host in environment Default');
  let disk = onDisk(folder);
  const created = disk.environments.find((e) => e.name === 'Default');
  assert.equal(disk.activeEnvironmentID, created.id);
  assert.deepEqual(created.variables.map((v) => [v.key, v.value]), [['host', 'h1']]);

  assert.equal((await callTool(client, 'set_active_environment', { environment: 'staging' })).text, 'Active environment: Staging');
  assert.equal(onDisk(folder).activeEnvironmentID, seeded.environments[0].id);
  assert.equal((await callTool(client, 'set_variable', { key: 'region', value: 'us' })).text, 'Set region in environment Staging');
  assert.equal((await callTool(client, 'set_variable', { key: 'v', value: '2', environment: 'Production' })).text,
    'Set v in environment Production');
  assert.deepEqual(await callTool(client, 'set_variable', { key: 'v', value: '2', environment: 'Nope' }),
    { text: 'Error: No environment named Nope', isError: true });
  assert.equal((await callTool(client, 'set_variable', { key: 'region', value: 'ap', collection: 'Shop' })).text,
    'Set region on collection Shop');
  disk = onDisk(folder);
  assert.equal(disk.environments[0].variables.find((v) => v.key === 'region').value, 'us');
  assert.equal(disk.collections[0].variables.find((v) => v.key === 'region').value, 'ap');

  assert.deepEqual(await callTool(client, 'set_active_environment', { environment: 'Nope' }),
    { text: 'Error: No environment named Nope', isError: true });
  assert.equal((await callTool(client, 'set_active_environment', { environment: '' })).text, 'Active environment cleared.');
  assert.equal(onDisk(folder).activeEnvironmentID, undefined);
});

test('updates a collection', async (t) => {
  const folder = temporaryFolder(t);
  seed(folder);
  const { client } = await connect(t, folder);
  const result = await callTool(client, 'update_collection', { collection: 'SHOP', name: 'Store', baseUrl: 'https://api.store.test', notes: 'hi' });
  assert.match(result.text, /^Updated collection Store/);
  const shop = onDisk(folder).collections[0];
  assert.deepEqual([shop.name, shop.baseURL, shop.notes], ['Store', 'https://api.store.test', 'hi']);
  assert.deepEqual(await callTool(client, 'update_collection', { collection: 'Shop' }),
    { text: 'Error: No collection named Shop. Use list_collections.', isError: true });
});

for (const how of ['atomically', 'in place']) {
  test(`takes in a workspace another process rewrote ${how}`, async (t) => {
    const folder = temporaryFolder(t);
    const workspace = seed(folder);
    const { client } = await connect(t, folder);
    assert.equal(JSON.parse((await callTool(client, 'list_collections')).text).length, 2);

    workspace.collections[1].name = 'Renamed elsewhere';
    const text = JSON.stringify(workspace, null, 2);
    if (how === 'atomically') {
      writeFileSync(join(folder, '.other.tmp'), text);
      renameSync(join(folder, '.other.tmp'), join(folder, 'workspace.json'));
    } else {
      writeFileSync(join(folder, 'workspace.json'), text);
    }
    const names = JSON.parse((await callTool(client, 'list_collections')).text).map((c) => c.name);
    assert.deepEqual(names, ['Shop', 'Renamed elsewhere']);
    assert.ok(readdirSync(join(folder, 'versions')).some((name) => name.endsWith('~Before%20external%20change.json')));
  });
}
