// The server as an MCP host sees it, through the official TypeScript SDK client.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { McpError } from '@modelcontextprotocol/sdk/types.js';
import { connect, callTool, temporaryFolder } from './harness.mjs';

test('connects, names itself and lists the seventeen tools with their schemas', async (t) => {
  const { client, stderr } = await connect(t, temporaryFolder(t));
  assert.deepEqual(client.getServerVersion(), { name: 'tessaline', version: '0.4.0' });
  assert.match(client.getInstructions(), /^Tessaline is a local HTTP\/API client\./);

  const { tools } = await client.listTools();
  assert.equal(tools.length, 17);
  assert.deepEqual(tools.map((tool) => tool.name).slice(0, 3), ['list_collections', 'list_requests', 'get_request']);
  const send = tools.find((tool) => tool.name === 'send_request');
  assert.deepEqual(send.inputSchema.required, ['request']);
  assert.deepEqual(send.inputSchema.properties.variables, {
    type: 'object',
    description: 'Extra {{name}} values for this call only',
    additionalProperties: { type: 'string' },
  });
  assert.deepEqual(tools[0].inputSchema, { type: 'object', properties: {} });
  assert.equal(stderr(), '');
});

test('answers ping', async (t) => {
  const { client } = await connect(t, temporaryFolder(t));
  assert.deepEqual(await client.ping(), {});
});

test('an unknown tool is a JSON-RPC error, not a tool result', async (t) => {
  const { client } = await connect(t, temporaryFolder(t));
  await assert.rejects(
    () => callTool(client, 'no_such_tool'),
    (error) => error instanceof McpError && error.code === -32601 && /Unknown tool: no_such_tool/.test(error.message),
  );
});
