// The binary driven through its pipes: the exact reply bytes of the protocol, notifications,
// input limits, exit status, stderr, and the informational switches.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { existsSync } from 'node:fs';
import { join } from 'node:path';
import { binary, run, temporaryFolder } from './harness.mjs';

const parseError = '{"error":{"code":-32700,"message":"Parse error"},"id":null,"jsonrpc":"2.0"}';

test('answers each request line with one exact line, never a notification, and exits 0 at end of input', async (t) => {
  const exchanges = [
    // [line, reply or nothing]
    ['{"jsonrpc":"2.0","id":1,"method":"ping"}', '{"id":1,"jsonrpc":"2.0","result":{}}'],
    ['{"jsonrpc":"2.0","method":"notifications/initialized"}'],
    ['{"jsonrpc":"2.0","id":null,"method":"ping"}'],
    ['{"method":"no/such/method"}'],
    [''],
    [' \t '],
    ['\t{"jsonrpc":"2.0","id":"two","method":"resources/templates/list"}  ', '{"id":"two","jsonrpc":"2.0","result":{"resourceTemplates":[]}}'],
    ['{"id":3,"method":"resources/list"}', '{"id":3,"jsonrpc":"2.0","result":{"resources":[]}}'],
    ['{"id":4,"method":"prompts/list"}', '{"id":4,"jsonrpc":"2.0","result":{"prompts":[]}}'],
    ...['[1]', 'garbage', '"text"', '42', '{"id":1,', '{} {}', '{"id":1}\u0000'].map((line) => [line, parseError]),
    ['{"id":5,"method":"tools/call","params":{"name":"nope"}}', '{"error":{"code":-32601,"message":"Unknown tool: nope"},"id":5,"jsonrpc":"2.0"}'],
    ['{"id":6,"method":"tools/call","params":{}}', '{"error":{"code":-32602,"message":"Missing tool name"},"id":6,"jsonrpc":"2.0"}'],
    ['{"id":7,"method":"tools/call","params":{"name":7}}', '{"error":{"code":-32602,"message":"Missing tool name"},"id":7,"jsonrpc":"2.0"}'],
    [
      '{"id":8,"method":"tools/call","params":{"name":"list_requests","arguments":{"a":1e999}}}',
      '{"error":{"code":-32602,"message":"Invalid params: a number is out of range"},"id":8,"jsonrpc":"2.0"}',
    ],
    ['{"id":9,"method":"bogus"}', '{"error":{"code":-32601,"message":"Method not found: bogus"},"id":9,"jsonrpc":"2.0"}'],
    ['{"id":10,"method":5}', '{"error":{"code":-32601,"message":"Method not found: "},"id":10,"jsonrpc":"2.0"}'],
  ];
  const input = exchanges.map(([line]) => line).join('\n') + '\n';
  const { status, stdout, stderr } = await run(['--workspace', temporaryFolder(t)], input);
  assert.equal(status, 0);
  assert.equal(stderr, '');
  assert.equal(stdout, exchanges.flatMap(([, reply]) => reply ?? []).map((reply) => reply + '\n').join(''));
});

test('initialize offers its own protocol version whatever the client asks for', async (t) => {
  const request = '{"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":"1999"}}';
  const { result: { instructions, ...result }, ...envelope } = JSON.parse((await run(['--workspace', temporaryFolder(t)], request)).stdout);
  assert.deepEqual(envelope, { id: 1, jsonrpc: '2.0' });
  assert.match(instructions, /^Tessaline is a local HTTP\/API client\./);
  const serverInfo = { name: 'tessaline', version: '0.4.0' };
  assert.deepEqual(result, { protocolVersion: '2025-06-18', capabilities: { tools: { listChanged: false } }, serverInfo });
});

// The second line's method holds an escape, so it is decoded: bytes left unrepaired would
// make that decoding fail.
test('bytes that are not UTF-8 are replaced, not rejected', async (t) => {
  const input = Buffer.concat([
    Buffer.from('{"id":"a'), Buffer.from([0xff, 0xfe]), Buffer.from('","method":"ping"}\n'),
    Buffer.from('{"id":2,"method":"\\u0070ing'), Buffer.from([0xc3]), Buffer.from('"}'),
  ]);
  const { status, stdout, stderr } = await run(['--workspace', temporaryFolder(t)], input);
  assert.equal(status, 0);
  assert.equal(
    stdout,
    '{"id":"a\u{fffd}\u{fffd}","jsonrpc":"2.0","result":{}}\n' +
      '{"error":{"code":-32601,"message":"Method not found: ping\u{fffd}"},"id":2,"jsonrpc":"2.0"}\n',
  );
  assert.equal(stderr, '');
});

test('ids come back exactly as written, whatever their size, form or depth', async (t) => {
  const deep = '['.repeat(100000) + ']'.repeat(100000);
  const ids = [
    // [as written, as echoed]
    ['123456789012345678901234567890', '123456789012345678901234567890'],
    ['-9223372036854775809', '-9223372036854775809'],
    ['1e999', '1e999'],
    ['-0', '-0'],
    ['1.50', '1.50'],
    ['"a\\u00e9/b"', '"a\\u00e9/b"'],
    ['{ "z" : [ 1.0 , " x y " ] , "a" : { } }', '{"z":[1.0," x y "],"a":{}}'],
    [deep, deep],
  ];
  const input = ids.map(([id]) => `{"jsonrpc":"2.0","id":${id},"method":"ping","params":${deep}}\n`).join('');
  const { stdout, stderr } = await run(['--workspace', temporaryFolder(t)], input);
  assert.equal(stderr, '');
  assert.deepEqual(stdout.trimEnd().split('\n'), ids.map(([, echoed]) => `{"id":${echoed},"jsonrpc":"2.0","result":{}}`));
});

test('a line up to 64 MiB is answered; a longer one gets an error and the next line is read', async (t) => {
  const limit = 64 * 1024 * 1024;
  const lineOf = (length, id) => {
    const head = `{"id":${id},"method":"ping","params":{"pad":"`;
    return head + 'x'.repeat(length - head.length - 3) + '"}}';
  };
  const { status, stdout, stderr } = await run(
    ['--workspace', temporaryFolder(t)],
    `${lineOf(limit, 1)}\n${lineOf(limit + 1, 2)}\n{"id":3,"method":"ping"}\n${lineOf(limit + 1, 4)}`,
  );
  assert.equal(status, 0);
  assert.equal(stderr, '');
  const tooLong = '{"error":{"code":-32600,"message":"Invalid Request: the line is longer than 67108864 bytes"},"id":null,"jsonrpc":"2.0"}';
  assert.equal(stdout, ['{"id":1,"jsonrpc":"2.0","result":{}}', tooLong, '{"id":3,"jsonrpc":"2.0","result":{}}', tooLong].join('\n') + '\n');
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

test('--version wins over --help and prints one line', async () => {
  const { status, stdout, stderr } = await run(['--help', '--version']);
  assert.equal(status, 0);
  assert.equal(stdout, 'tessaline-mcp 0.4.0 (MCP 2025-06-18)\n');
  assert.equal(stderr, '');
});

test('--help names the default folder and ends in the invocation path', async () => {
  for (const [XDG_DATA_HOME, folder] of [['', '/home/someone/.local/share/Tessaline'], ['/srv/data', '/srv/data/Tessaline']]) {
    const { status, stdout } = await run(['--help'], '', { HOME: '/home/someone', XDG_DATA_HOME });
    assert.equal(status, 0);
    assert.equal(
      stdout,
      'tessaline-mcp \u2014 Model Context Protocol server for Tessaline (stdio).\n' +
        `  --workspace <folder>   use a different workspace folder (default: ${folder})\n` +
        '  --tools                print the tool list and exit\n' +
        `Register:  claude mcp add tessaline -- ${binary}\n`,
    );
  }
});

test('--tools opens the workspace folder, then lists the tools one a line', async (t) => {
  const workspace = join(temporaryFolder(t), 'nested', 'folder');
  const { status, stdout, stderr } = await run(['--workspace', workspace, '--tools', '--unknown-switch']);
  assert.equal(status, 0);
  assert.equal(stderr, '');
  const lines = stdout.trimEnd().split('\n');
  assert.equal(lines[0], 'list_collections  \u2014  List collections with their request counts and variable names.');
  assert.match(lines.at(-1), /^oauth_token  \u2014  OAuth 2 token for a request/);
  assert.ok(existsSync(workspace), 'the workspace folder is created before the list is printed');
});

test('--workspace without a value falls back to the default folder', async (t) => {
  const home = temporaryFolder(t);
  const { status, stdout } = await run(['--workspace'], '{"id":1,"method":"ping"}', { HOME: home, XDG_DATA_HOME: '' });
  assert.equal(status, 0);
  assert.equal(stdout, '{"id":1,"jsonrpc":"2.0","result":{}}\n');
  assert.ok(existsSync(join(home, '.local', 'share', 'Tessaline')));
});
