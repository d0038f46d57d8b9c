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
