// The binary driven through its pipes: the exact reply bytes of the protocol, notifications,
// input limits, exit status, stderr, and the informational switches.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { existsSync } from 'node:fs';
import { join } from 'node:path';
import { binary, run, temporaryFolder } from './harness.mjs';

const parseError = '{"error":{"code":-32700,"message":"Parse error"},"id":null,"jsonrpc":"2.0"}';

// Ids come back as written, however large or deep, and bytes that are not UTF-8 are replaced:
// the last method's escape makes it decoded, which unrepaired bytes would fail.
test('answers each request line with one exact line, never a notification, and exits 0 at end of input', async (t) => {
  const deep = '['.repeat(100000) + ']'.repeat(100000);
  const ping = (id) => [`{"jsonrpc":"2.0","id":${id},"method":"ping","params":${deep}}`, `{"id":${id},"jsonrpc":"2.0","result":{}}`];
  const error = (id, code, message) => `{"error":{"code":${code},"message":"${message}"},"id":${id},"jsonrpc":"2.0"}`;
  const exchanges = [
    // [line, reply or nothing]
    ['{"jsonrpc":"2.0","id":1,"method":"ping"}', '{"id":1,"jsonrpc":"2.0","result":{}}'],
    ...['{"jsonrpc":"2.0","method":"notifications/initialized"}', '{"jsonrpc":"2.0","id":null,"method":"ping"}', '{"method":"no/such/method"}',
      '', ' \t '].map((line) => [line]),
    ['\t{"jsonrpc":"2.0","id":"two","method":"resources/templates/list"}  ', '{"id":"two","jsonrpc":"2.0","result":{"resourceTemplates":[]}}'],
    ['{"id":3,"method":"resources/list"}', '{"id":3,"jsonrpc":"2.0","result":{"resources":[]}}'],
    ['{"id":4,"method":"prompts/list"}', '{"id":4,"jsonrpc":"2.0","result":{"prompts":[]}}'],
    ...['[1]', 'garbage', '"text"', '42', '{"id":1,', '{} {}', '{"id":1}\u0000'].map((line) => [line, parseError]),
    ['{"id":5,"method":"tools/call","params":{"name":"nope"}}', error(5, -32601, 'Unknown tool: nope')],
    ['{"id":6,"method":"tools/call","params":{}}', error(6, -32602, 'Missing tool name')],
    ['{"id":7,"method":"tools/call","params":{"name":7}}', error(7, -32602, 'Missing tool name')],
    ['{"id":8,"method":"tools/call","params":{"name":"list_requests","arguments":{"a":[-1.5e999]}}}',
      error(8, -32602, 'Invalid params: the number -1.5e999 is beyond the range of a double')],
    ['{"id":9,"method":"bogus"}', error(9, -32601, 'Method not found: bogus')],
    ['{"id":10,"method":5}', error(10, -32601, 'Method not found: ')],
    ...['123456789012345678901234567890', '-9223372036854775809', '1e999', '-0', '1.50', '"a\\u00e9/b"', deep].map(ping),
    [ping('{ "z" : [ 1.0 , " x y " ] , "a" : { } }')[0], '{"id":{"z":[1.0," x y "],"a":{}},"jsonrpc":"2.0","result":{}}'],
    [Buffer.from('{"id":"a\xff\xfe","method":"ping"}', 'latin1'), '{"id":"a\u{fffd}\u{fffd}","jsonrpc":"2.0","result":{}}'],
    [Buffer.from('{"id":2,"method":"\\u0070ing\xc3"}', 'latin1'), error(2, -32601, 'Method not found: ping\u{fffd}')],
  ];
  const input = Buffer.concat(exchanges.flatMap(([line]) => [Buffer.from(line), Buffer.from('\n')]));
  const { status, stdout, stderr } = await run(['--workspace', temporaryFolder(t)], input);
  assert.deepEqual([status, stderr], [0, '']);
  // Tool calls wait their turn on the workspace, so their replies may come after later lines'.
  const lines = (text) => text.split('\n').sort();
  assert.deepEqual(lines(stdout), lines(exchanges.flatMap(([, reply]) => reply ?? []).map((reply) => reply + '\n').join('')));
});

test('initialize offers its own protocol version whatever the client asks for', async (t) => {
  const request = '{"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":"1999"}}';
  const { result: { instructions, ...result }, ...envelope } = JSON.parse((await run(['--workspace', temporaryFolder(t)], request)).stdout);
  assert.match(instructions, /^Tessaline is a local HTTP\/API client\./);
  const capabilities = { tools: { listChanged: false } };
  const serverInfo = { name: 'tessaline', version: '0.4.0' };
  assert.deepEqual({ ...envelope, result }, { id: 1, jsonrpc: '2.0', result: { protocolVersion: '2025-06-18', capabilities, serverInfo } });
});

test('a line up to 64 MiB is answered; a longer one gets an error and the next line is read', async (t) => {
  const limit = 64 * 1024 * 1024;
  const lineOf = (length, id, head = `{"id":${id},"method":"ping","params":{"pad":"`) => head + 'x'.repeat(length - head.length - 3) + '"}}';
  const input = `${lineOf(limit, 1)}\n${lineOf(limit + 1, 2)}\n{"id":3,"method":"ping"}\n${lineOf(limit + 1, 4)}`;
  const tooLong = '{"error":{"code":-32600,"message":"Invalid Request: the line is longer than 67108864 bytes"},"id":null,"jsonrpc":"2.0"}';
  const stdout = ['{"id":1,"jsonrpc":"2.0","result":{}}', tooLong, '{"id":3,"jsonrpc":"2.0","result":{}}', tooLong].join('\n') + '\n';
  assert.deepEqual(await run(['--workspace', temporaryFolder(t)], input), { status: 0, stdout, stderr: '' });
});

test('the params of tools/call hold at most 100,000 values, and a long name is looked up whole', async (t) => {
  // {"name":..,"arguments":{"a":[...]}} holds four values besides the array's elements.
  const call = (id, elements) =>
    `{"id":${id},"method":"tools/call","params":{"name":"list_requests","arguments":{"a":[${Array(elements).fill(0)}]}}}\n`;
  const name = 'N'.repeat(1 << 20);
  const lookup = `{"id":3,"method":"tools/call","params":{"name":"get_request","arguments":{"request":"${name}"}}}\n`;
  const { stdout } = await run(['--workspace', temporaryFolder(t)], call(1, 99997) + call(2, 99996) + lookup);
  const [tooMany, listed, missing] = stdout.trimEnd().split('\n').map((line) => JSON.parse(line));
  assert.deepEqual(tooMany, { error: { code: -32602, message: 'Invalid params: more than 100000 values' }, id: 1, jsonrpc: '2.0' });
  assert.equal(listed.result.isError, false);
  assert.deepEqual(missing.result, { content: [{ type: 'text', text: `Error: No request matches ${name}. Use list_requests.` }], isError: true });
});

test('--version wins over --help; --help names the default folder and ends in the invocation path', async () => {
  assert.deepEqual(await run(['--help', '--version']), { status: 0, stdout: 'tessaline-mcp 0.4.0 (MCP 2025-06-18)\n', stderr: '' });
  for (const [XDG_DATA_HOME, folder] of [['', '/home/someone/.local/share/Tessaline'], ['/srv/data', '/srv/data/Tessaline']]) {
    assert.deepEqual(await run(['--help'], '', { HOME: '/home/someone', XDG_DATA_HOME }), { status: 0, stderr: '', stdout:
      'tessaline-mcp \u2014 Model Context Protocol server for Tessaline (stdio).\n' +
      `  --workspace <folder>   use a different workspace folder (default: ${folder})\n` +
      '  --tools                print the tool list and exit\n' +
      `Register:  claude mcp add tessaline -- ${binary}\n` });
  }
});

// A --workspace without a value falls back to the default folder.
test('--tools opens the workspace folder, then lists the tools one a line', async (t) => {
  const home = temporaryFolder(t);
  const { status, stdout, stderr } = await run(['--tools', '--unknown-switch', '--workspace'], '', { HOME: home, XDG_DATA_HOME: '' });
  assert.deepEqual([status, stderr], [0, '']);
  const lines = stdout.trimEnd().split('\n');
  assert.equal(lines[0], 'list_collections  \u2014  List collections with their request counts and variable names.');
  assert.match(lines.at(-1), /^oauth_token  \u2014  OAuth 2 token for a request/);
  assert.ok(existsSync(join(home, '.local', 'share', 'Tessaline')), 'the workspace folder is created before the list is printed');
});
