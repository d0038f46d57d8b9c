// OAuth 2 through oauth_token and send_request against an authorization server from npm.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { OAuth2Server } from 'oauth2-mock-server';
import { connect, id, localServer, noAuth, storedRequest as request, temporaryFolder } from './harness.mjs';

async function setUp(t) {
  const issuer = new OAuth2Server();
  await issuer.issuer.keys.generate('RS256');
  await issuer.start(0, '127.0.0.1');
  t.after(() => issuer.stop());
  const grants = [];
  issuer.service.on('beforeResponse', (_response, req) => { if (req.body?.grant_type) grants.push(req.body.grant_type); });

  const { base: apiBase, arrivals } = await localServer(t);

  const oauth = (grant, extra = {}) => ({ ...noAuth, kind: 'oauth2',
    oauth2: { grant, tokenURL: `${issuer.issuer.url}/token`, clientID: 'tessaline-test', clientSecret: ' s3cret ', scope: 'read', ...extra } });
  const folder = temporaryFolder(t);
  writeFileSync(join(folder, 'workspace.json'), JSON.stringify({ version: 1, environments: [], collections: [{
    id: id(), name: 'Secured', auth: oauth('clientCredentials'), items: [
      request('Machine call', `${apiBase}/data`, { auth: { ...noAuth, kind: 'inherit' } }),
      request('As a user', `${apiBase}/me`, { auth: oauth('password', { username: 'ada', password: 'pw' }) }),
      request('Browser only', `${apiBase}/x`, { auth: oauth('authorizationCode', { authURL: `${issuer.issuer.url}/authorize` }) }),
      request('Plain bearer', `${apiBase}/y`, { auth: { ...noAuth, kind: 'bearer', token: 't' } }),
    ] }] }));
  const { call } = await connect(t, folder);
  return { call: (args) => call('oauth_token', args), send: (name) => call('send_request', { request: name }),
    grants, lastAuthorization: () => arrivals.at(-1).headers.authorization };
}

// Each owner has a token of its own: clearing the collection's leaves the user's.
test('client credentials are obtained, refreshed by running the grant again and sent; a refresh token is used for refresh', async (t) => {
  const { call, send, grants, lastAuthorization } = await setUp(t);
  assert.equal((await call({ collection: 'Secured' })).text, 'No token yet. Use action=new.');
  const { owner, grant, valid, hasRefreshToken, accessToken, scope } = JSON.parse((await call({ request: 'Machine call', action: 'new' })).text);
  assert.deepEqual({ owner, grant, valid, hasRefreshToken, accessToken, scope },
    { owner: 'Machine call', grant: 'clientCredentials', valid: true, hasRefreshToken: false, accessToken: '••••••', scope: 'read' });
  const refreshed = JSON.parse((await call({ collection: 'Secured', action: 'refresh', reveal: true })).text);
  assert.deepEqual([grants, refreshed.owner], [['client_credentials', 'client_credentials'], 'Secured']);
  // A fresh cached token is reused, not fetched again; send_request obtains one on its own.
  assert.equal((await send('Machine call')).isError, false);
  assert.deepEqual([lastAuthorization(), grants.length], [`Bearer ${refreshed.accessToken}`, 2]);
  assert.equal((await send('As a user')).isError, false);
  assert.equal((await call({ collection: 'Secured', action: 'clear' })).text, 'Cleared the cached OAuth 2 token for Secured');
  assert.equal((await call({ collection: 'Secured' })).text, 'No token yet. Use action=new.');

  const user = JSON.parse((await call({ request: 'As a user', reveal: true })).text);
  assert.deepEqual([grants.slice(2), user.hasRefreshToken, lastAuthorization()], [['password'], true, `Bearer ${user.accessToken}`]);
  const renewed = JSON.parse((await call({ request: 'As a user', action: 'refresh', reveal: true })).text);
  assert.deepEqual(grants.slice(2), ['password', 'refresh_token']);
  assert.notEqual(renewed.accessToken, user.accessToken);
});

test('grants that need a person, other auth kinds and bad arguments fail with their texts', async (t) => {
  const { call, send } = await setUp(t);
  assert.equal((await call({ request: 'Browser only' })).text,
    'No token yet. Sign in once in the Tessaline app (Auth tab \u2192 Get New Token).');
  const needsBrowser = { text: 'Error: The Authorization Code grant needs a browser sign-in. Open Tessaline and press Get New Token.', isError: true };
  assert.deepEqual(await call({ request: 'Browser only', action: 'new' }), needsBrowser);
  assert.deepEqual(await send('Browser only'), needsBrowser);

  assert.deepEqual(await call({}), { text: 'Error: Pass request or collection', isError: true });
  assert.deepEqual(await call({ request: 'Plain bearer' }), { text: 'Error: Plain bearer uses Bearer Token, not OAuth 2.0.', isError: true });
  assert.deepEqual(await call({ collection: 'Secured', action: 'rotate' }),
    { text: 'Error: action must be status, refresh, new or clear', isError: true });
});
