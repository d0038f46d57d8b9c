// What a real MCP host's client makes of the server: the handshake and the tool list, checked
// against the SDK's own schemas. The exact bytes of replies are the stdio tests'.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { connect, temporaryFolder } from './harness.mjs';

test('connects and lists the seventeen tools with their schemas', async (t) => {
  const { client, stderr } = await connect(t, temporaryFolder(t));
  const { tools } = await client.listTools();
  assert.equal(tools.length, 17);
  const { required, properties } = tools.find((tool) => tool.name === 'send_request').inputSchema;
  assert.deepEqual([required, properties.variables],
    [['request'], { type: 'object', description: 'Extra {{name}} values for this call only', additionalProperties: { type: 'string' } }]);
  assert.deepEqual(tools[0].inputSchema, { type: 'object', properties: {} });
  assert.equal(stderr(), '');
});

// Hosts decide from the hints which calls need the user's approval.
test('every tool carries a title and the four hints a host asks its user by', async (t) => {
  const { client } = await connect(t, temporaryFolder(t));
  const { tools } = await client.listTools();
  assert.deepEqual(tools.find((tool) => tool.name === 'delete_request').annotations,
    { title: 'Delete request', readOnlyHint: false, destructiveHint: true, idempotentHint: true, openWorldHint: false });
  assert.ok(tools.every((tool) => tool.title && tool.title === tool.annotations.title), 'a title beside the name and among the hints');
  const named = (hint) => tools.filter((tool) => tool.annotations[hint]).map((tool) => tool.name);
  assert.deepEqual(named('readOnlyHint'),
    ['list_collections', 'list_requests', 'get_request', 'get_last_response', 'list_environments', 'generate_code', 'export_postman']);
  assert.deepEqual(named('destructiveHint'),
    ['send_request', 'send_adhoc', 'update_request', 'delete_request', 'set_variable', 'update_collection', 'oauth_token']);
  assert.deepEqual(named('openWorldHint'), ['send_request', 'send_adhoc', 'oauth_token']);
  assert.deepEqual(tools.filter((tool) => !tool.annotations.readOnlyHint && tool.annotations.idempotentHint).map((tool) => tool.name),
    ['update_request', 'delete_request', 'set_active_environment', 'set_variable', 'update_collection']);
});
