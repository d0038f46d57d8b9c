// What a real MCP host's client makes of the server: the handshake, the tool list checked
// against the SDK's own schemas, ping, and how a call of an unknown tool fails.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { McpError } from '@modelcontextprotocol/sdk/types.js';
import { connect, callTool, temporaryFolder } from './harness.mjs';

test('connects and lists the seventeen tools with their schemas', async (t) => {
  const { client, stderr } = await connect(t, temporaryFolder(t));
  const { tools } = await client.listTools();
  assert.equal(tools.length, 17);
  const send = tools.find((tool) => tool.name === 'send_request');
  assert.deepEqual(send.inputSchema.required, ['request']);
  assert.deepEqual(send.inputSchema.properties.variables, {
    type: 'object',
    description: 'Extra {{name}} values for this call only',
    additionalProperties: { type: 'string' },
  });
  assert.deepEqual(tools[0].inputSchema, { type: 'object', properties: {} });
  assert.deepEqual(await client.ping(), {});
  assert.equal(stderr(), '');
});

test('an unknown tool is a JSON-RPC error, not a tool result', async (t) => {
  const { client } = await connect(t, temporaryFolder(t));
  await assert.rejects(
    () => callTool(client, 'no_such_tool'),
    (error) => error instanceof McpError && error.code === -32601 && /Unknown tool: no_such_tool/.test(error.message),
  );
});
