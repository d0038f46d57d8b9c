// Sign-ins that need a person, started by the server: the device grant against a scripted
// authorization server, the authorization-code grant through the loopback receiver with a
// scripted browser, joining and clearing, and hosts with and without the dialog (elicitation).
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { readdirSync, readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { OAuth2Server } from 'oauth2-mock-server';
import { Client } from '@modelcontextprotocol/sdk/client/index.js';
import { StdioClientTransport } from '@modelcontextprotocol/sdk/client/stdio.js';
import { ElicitRequestSchema } from '@modelcontextprotocol/sdk/types.js';
import { binary, connect, id, localServer, noAuth, pipe, storedRequest as request, temporaryFolder } from './harness.mjs';

const sleep = (ms) => new Promise((resolve) => setTimeout(resolve, ms));
const until = async (check) => { while (!(await check())) await sleep(50); };

// A device authorization server: /device hands out the code, /token answers each poll with
// what `pending()` says until the test calls approve() or deny(), and "slow_down" once when
// `slowDown` is set. `polls` holds the time of each poll.
async function deviceServer(t, { expiresIn = 900, slowDown = false } = {}) {
  const state = { outcome: 'authorization_pending', polls: [], slowDown, deviceCalls: 0 };
  const { base } = await localServer(t, ({ target, body }, response) => {
    const json = (status, value) => response.writeHead(status, { 'content-type': 'application/json' }).end(JSON.stringify(value));
    const form = new URLSearchParams(body.toString());
    if (target === '/device') {
      state.deviceCalls += 1;
      return json(200, { device_code: 'dev-123', user_code: 'WDJB-MJHT', verification_uri: `${base}/verify`,
        verification_uri_complete: `${base}/verify?user_code=WDJB-MJHT`, expires_in: expiresIn, interval: 0.2 });
    }
    assert.deepEqual([form.get('grant_type'), form.get('device_code')], ['urn:ietf:params:oauth:grant-type:device_code', 'dev-123']);
    state.polls.push(Date.now());
    if (state.slowDown) { state.slowDown = false; return json(400, { error: 'slow_down' }); }
    if (state.outcome === 'approved') return json(200, { access_token: `device-token-${state.polls.length}`, token_type: 'Bearer', expires_in: 3600 });
    return json(400, { error: state.outcome, ...(state.outcome === 'access_denied' && { error_description: 'The user said no' }) });
  });
  return { base, state, approve: () => { state.outcome = 'approved'; }, deny: () => { state.outcome = 'access_denied'; } };
}

// A workspace with a device-code collection whose requests inherit its auth, and a request
// signed in through the loopback receiver at `issuer`.
function workspace(t, { device, issuer, api }) {
  const folder = temporaryFolder(t);
  const oauth = (extra) => ({ ...noAuth, kind: 'oauth2', oauth2: { clientID: 'tessaline-test', scope: 'read', ...extra } });
  const inherit = { auth: { ...noAuth, kind: 'inherit' } };
  writeFileSync(join(folder, 'workspace.json'), JSON.stringify({ version: 1, environments: [], collections: [{
    id: id(), name: 'Devices', items: [
      request('Device call', `${api}/device-data`, inherit),
      request('Browser login', `${api}/me`, { auth: oauth({ grant: 'authorizationCode', authURL: `${issuer}/authorize`,
        tokenURL: `${issuer}/token`, redirectURI: 'http://127.0.0.1/callback' }) }),
    ],
    auth: oauth({ grant: 'deviceCode', deviceAuthURL: `${device}/device`, tokenURL: `${device}/token` }) }] }));
  return folder;
}

async function setUp(t, deviceOptions) {
  const device = await deviceServer(t, deviceOptions);
  const issuer = new OAuth2Server();
  await issuer.issuer.keys.generate('RS256');
  await issuer.start(0, '127.0.0.1');
  t.after(() => issuer.stop());
  const api = await localServer(t);
  const folder = workspace(t, { device: device.base, issuer: issuer.issuer.url, api: api.base });
  return { device, issuer, api, folder };
}

const started = (owner, base, joined = false) => new RegExp(
  `^${joined ? `A sign-in for ${owner} is already running\\.` : `Sign-in started for ${owner}\\.`} Ask the user to do this:\\n` +
  `Open ${base}/verify and enter the code WDJB-MJHT\\. Or open ${base}/verify\\?user_code=WDJB-MJHT, which has the code filled in\\.\\n` +
  'The sign-in waits 1[45] minutes( \\d+ seconds?)? more, until \\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ\\.\\n' +
  'Once the user has signed in, oauth_token with action=status shows the token, and send_request uses it\\.$');

test('device grant without a dialog: started, joined, polled through pending and slow_down, approved and used', { timeout: 30000 }, async (t) => {
  const { device, api, folder } = await setUp(t, { slowDown: true });
  const { call, stderr } = await connect(t, folder);
  const token = (args) => call('oauth_token', { collection: 'Devices', ...args });
  assert.equal((await token()).text, 'No token yet. Use action=new to sign in.');

  const first = await token({ action: 'new' });
  assert.equal(first.isError, false);
  assert.match(first.text, started('Devices', device.base));
  assert.match((await token({ action: 'new' })).text, started('Devices', device.base, true));
  const send = await call('send_request', { request: 'Device call' });
  assert.equal(send.isError, true);
  assert.match(send.text.replace(/^Error: /, ''), started('Device call', device.base, true));
  const running = (await token()).text;
  assert.match(running, /^A sign-in for Devices is running, waiting for the user:\nOpen .*\/verify and enter the code WDJB-MJHT\./);
  assert.equal(device.state.deviceCalls, 1);

  await until(() => device.state.polls.length >= 2);
  device.approve();
  await until(async () => (await token()).text.startsWith('{'));
  // The poll after slow_down waited 5 s more than the 0.2 s interval; the others did not.
  const gaps = device.state.polls.slice(1).map((at, index) => at - device.state.polls[index]);
  assert.ok(gaps[0] >= 5000, `gap after slow_down: ${gaps[0]} ms`);
  assert.ok(gaps.slice(1).every((gap) => gap >= 5000), 'slow_down lasts for all later polls');

  const report = JSON.parse((await token({ reveal: true })).text);
  assert.deepEqual([report.owner, report.grant, report.valid, report.accessToken.startsWith('device-token-')],
    ['Devices', 'deviceCode', true, true]);
  const cached = JSON.parse(readFileSync(join(folder, 'oauth-tokens.json'), 'utf8'));
  assert.deepEqual(Object.values(cached.tokens).map(({ token: { accessToken } }) => accessToken), [report.accessToken]);
  assert.equal((await call('send_request', { request: 'Device call' })).isError, false);
  assert.equal(api.arrivals.at(-1).headers.authorization, `Bearer ${report.accessToken}`);
  assert.equal(stderr(), '');
  // The token is only in the token cache; the history records the sent header masked.
  const history = readdirSync(join(folder, 'history')).map((file) => readFileSync(join(folder, 'history', file), 'utf8')).join();
  assert.match(history, /"Bearer •{6}"/);
  for (const text of [history, readFileSync(join(folder, 'workspace.json'), 'utf8')]) {
    assert.doesNotMatch(text, new RegExp(`WDJB|dev-123|${report.accessToken}`));
  }
});

test('device grant: a denial and an expiry are told once, and clear ends a sign-in', { timeout: 20000 }, async (t) => {
  const { device, folder } = await setUp(t, { expiresIn: 1 });
  const { call } = await connect(t, folder);
  const token = (args) => call('oauth_token', { collection: 'Devices', ...args });
  const ended = async () => { let status; await until(async () => (status = await token()).isError); return status.text; };

  await token({ action: 'new' });
  device.deny();
  assert.equal(await ended(), 'Error: The sign-in for Devices ended without a token: ' +
    'OAuth 2 error access_denied: The user said no (HTTP 400)\nUse action=new to sign in again.');
  assert.equal((await token()).text, 'No token yet. Use action=new to sign in.');

  device.state.outcome = 'authorization_pending';
  await token({ action: 'new' });
  assert.equal(await ended(), 'Error: The sign-in for Devices ended without a token: ' +
    'Timed out waiting for the sign-in to finish.\nUse action=new to sign in again.');

  await token({ action: 'new' });
  assert.equal((await token({ action: 'clear' })).text, 'Cleared the cached OAuth 2 token for Devices');
  assert.equal((await token()).text, 'No token yet. Use action=new to sign in.');
  await sleep(300);
  const polled = device.state.polls.length;
  await sleep(600);
  assert.equal(device.state.polls.length, polled, 'no poll after clear');
});

test('authorization code through the loopback receiver: the right state, a wrong state, an error redirect', { timeout: 20000 }, async (t) => {
  const { api, folder } = await setUp(t);
  const { call } = await connect(t, folder);
  const token = (args) => call('oauth_token', { request: 'Browser login', ...args });
  const begin = async () => {
    const { text } = await token({ action: 'new' });
    assert.match(text, new RegExp('^Sign-in started for Browser login\\. Ask the user to do this:\\n' +
      'Open this address in a browser on the computer this server runs on, and sign in:\\n' +
      'http://localhost:\\d+/authorize\\?response_type=code&client_id=tessaline-test&redirect_uri=http%3a%2f%2f127\\.0\\.0\\.1%3a\\d+%2fcallback' +
      '&state=[\\w-]{22}&scope=read&code_challenge=[\\w-]{43}&code_challenge_method=S256\\n' +
      'The sign-in waits (5 minutes|4 minutes 59 seconds) more, until \\S+Z\\.\\n' +
      'Once the user has signed in, oauth_token with action=status shows the token, and send_request uses it\\.$'));
    return new URL(text.split('\n')[2]);
  };
  // The browser: the authorization server sends it on to the redirect, which `change` may alter.
  const browse = async (address, change = (url) => url) => {
    const redirect = await fetch(address, { redirect: 'manual' });
    const page = await fetch(change(new URL(redirect.headers.get('location'))));
    return [page.status, (await page.text()).match(/<h1>([^<]*)<\/h1>/)[1]];
  };
  const ended = async () => { let status; await until(async () => !(status = await token()).text.startsWith('A sign-in')); return status; };

  assert.deepEqual(await browse(await begin(), (url) => { url.searchParams.set('state', 'forged'); return url; }), [200, 'Signed in']);
  assert.deepEqual(await ended(), { isError: true, text: 'Error: The sign-in for Browser login ended without a token: ' +
    'The authorization response\'s state didn\'t match the request \u2014 sign-in was not completed.\nUse action=new to sign in again.' });

  const redirectURI = new URL((await begin()).searchParams.get('redirect_uri'));
  const failed = await fetch(`${redirectURI}?error=access_denied&error_description=Nope`);
  assert.equal(failed.status, 200);
  assert.match(await failed.text(), /<h1>Sign-in failed<\/h1>/);
  assert.deepEqual(await ended(), { isError: true,
    text: 'Error: The sign-in for Browser login ended without a token: OAuth 2 error access_denied: Nope\nUse action=new to sign in again.' });

  assert.deepEqual(await browse(await begin()), [200, 'Signed in']);
  const report = JSON.parse((await ended()).text);
  assert.deepEqual([report.grant, report.valid, report.hasRefreshToken], ['authorizationCode', true, true]);
  assert.equal((await call('send_request', { request: 'Browser login' })).isError, false);
  assert.match(api.arrivals.at(-1).headers.authorization, /^Bearer \S+$/);
});

// An SDK client that declares the elicitation capability and answers each dialog with `answer`.
async function dialogHost(t, folder, answer) {
  const transport = new StdioClientTransport({ command: binary, args: ['--workspace', folder], stderr: 'pipe' });
  const client = new Client({ name: 'tessaline-e2e', version: '1.0.0' }, { capabilities: { elicitation: {} } });
  const dialogs = [];
  client.setRequestHandler(ElicitRequestSchema, (request) => { dialogs.push(request.params); return answer(request.params); });
  await client.connect(transport);
  t.after(() => client.close());
  const call = async (name, args, options) => {
    const result = await client.callTool({ name, arguments: args }, undefined, options);
    return { text: result.content[0].text, isError: result.isError };
  };
  return { call, dialogs };
}

test('a host with dialogs: the call waits for the sign-in, which the user\'s decline or cancel ends', { timeout: 20000 }, async (t) => {
  const { device, api, folder } = await setUp(t);
  let action = 'accept';
  const { call, dialogs } = await dialogHost(t, folder, async () => { if (action === 'accept') device.approve(); return { action }; });
  const progress = [];
  const signedIn = await call('oauth_token', { collection: 'Devices', action: 'new' }, { onprogress: (note) => progress.push(note) });
  assert.deepEqual([JSON.parse(signedIn.text).grant, signedIn.isError], ['deviceCode', false]);
  assert.match(dialogs[0].message, new RegExp('^Sign in for Devices:\\nOpen \\S+/verify and enter the code WDJB-MJHT\\. ' +
    'Or open \\S+, which has the code filled in\\.\\nThe sign-in waits .* more, until \\S+Z\\.\\nDecline to stop the sign-in\\.$'));
  assert.deepEqual(dialogs[0].requestedSchema, { type: 'object', properties: {} });
  assert.match(progress[0].message, /^Waiting for the sign-in: 1[45] minutes( \d+ seconds?)? left$/);

  for (action of ['decline', 'cancel']) {
    device.state.outcome = 'authorization_pending';
    assert.deepEqual(await call('oauth_token', { collection: 'Devices', action: 'new' }), { isError: true, text: 'Error: Sign-in was cancelled.' });
    assert.equal((await call('oauth_token', { collection: 'Devices' })).text, 'No token yet. Use action=new to sign in.');
  }
  action = 'accept';
  assert.equal((await call('send_request', { request: 'Device call' })).isError, false);
  assert.match(api.arrivals.at(-1).headers.authorization, /^Bearer device-token-\d+$/);
});

test('a host with dialogs: cancelling the call, or the end of input, ends the sign-in', { timeout: 20000 }, async (t) => {
  const { device, folder } = await setUp(t);
  const { call, dialogs } = await dialogHost(t, folder, () => new Promise(() => {}));
  const abort = new AbortController();
  const waiting = call('oauth_token', { collection: 'Devices', action: 'new' }, { signal: abort.signal });
  await until(() => dialogs.length === 1 && device.state.polls.length > 0);
  abort.abort();
  await assert.rejects(waiting);
  await until(async () => (await call('oauth_token', { collection: 'Devices' })).text === 'No token yet. Use action=new to sign in.');
  await sleep(300);
  const polled = device.state.polls.length;
  await sleep(600);
  assert.equal(device.state.polls.length, polled, 'no poll after the call was cancelled');

  const server = pipe(t, folder);
  server.send({ id: 0, method: 'initialize', params: { protocolVersion: '2025-06-18', capabilities: { elicitation: {} }, clientInfo: { name: 'e2e', version: '1' } } });
  server.send({ id: 1, method: 'tools/call', params: { name: 'oauth_token', arguments: { collection: 'Devices', action: 'new' } } });
  const dialog = await server.next((message) => message.method === 'elicitation/create');
  assert.match(dialog.id, /^tessaline-\d+$/);
  assert.deepEqual(await server.end(), { status: 0, stderr: '' });
  assert.deepEqual((await server.reply(1)).result, { content: [{ type: 'text', text: 'Error: Sign-in was cancelled.' }], isError: true });
});
