// The binary driven through its pipes: exact reply bytes, notifications, exit status, stderr,
// and the informational switches.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { existsSync } from 'node:fs';
import { join } from 'node:path';
import { binary, run, temporaryFolder } from './harness.mjs';

test('answers each request line with one exact line and exits 0 at end of input', async (t) => {
  const workspace = temporaryFolder(t);
  const input = [
    '{"jsonrpc":"2.0","id":1,"method":"ping"}',
    '{"jsonrpc":"2.0","method":"notifications/initialized"}',
    '{"jsonrpc":"2.0","id":null,"method":"ping"}',
    '',
    ' \t ',
    '\t{"jsonrpc":"2.0","id":"two","method":"resources/templates/list"}  ',
    '[1]',
    'garbage',
    '{"jsonrpc":"2.0","id":3,"method":"tools/call","params":{"name":"nope"}}',
    '{"jsonrpc":"2.0","id":4,"method":"tools/call","params":{}}',
    '{"jsonrpc":"2.0","id":5,"method":"bogus"}',
  ].join('\n') + '\n';
  const { status, stdout, stderr } = await run(['--workspace', workspace], input);
  assert.equal(status, 0);
  assert.equal(stderr, '');
  assert.equal(
    stdout,
    [
      '{"id":1,"jsonrpc":"2.0","result":{}}',
      '{"id":"two","jsonrpc":"2.0","result":{"resourceTemplates":[]}}',
      '{"error":{"code":-32700,"message":"Parse error"},"id":null,"jsonrpc":"2.0"}',
      '{"error":{"code":-32700,"message":"Parse error"},"id":null,"jsonrpc":"2.0"}',
      '{"error":{"code":-32601,"message":"Unknown tool: nope"},"id":3,"jsonrpc":"2.0"}',
      '{"error":{"code":-32602,"message":"Missing tool name"},"id":4,"jsonrpc":"2.0"}',
      '{"error":{"code":-32601,"message":"Method not found: bogus"},"id":5,"jsonrpc":"2.0"}',
    ].join('\n') + '\n',
  );
});

test('a last line without a line feed is still answered', async (t) => {
  const { status, stdout } = await run(['--workspace', temporaryFolder(t)], '{"id":9,"method":"ping"}');
  assert.equal(status, 0);
  assert.equal(stdout, '{"id":9,"jsonrpc":"2.0","result":{}}\n');
});

test('bytes that are not UTF-8 are replaced, not rejected', async (t) => {
  const line = Buffer.concat([Buffer.from('{"id":"a'), Buffer.from([0xff, 0xfe]), Buffer.from('","method":"ping"}\n')]);
  const { stdout, stderr } = await run(['--workspace', temporaryFolder(t)], line);
  assert.equal(stdout, '{"id":"a\u{fffd}\u{fffd}","jsonrpc":"2.0","result":{}}\n');
  assert.equal(stderr, '');
});

test('ids come back exactly as written, whatever their size or form', async (t) => {
  const deep = '['.repeat(100000) + ']'.repeat(100000);
  const ids = [
    // [as written, as echoed]
    ['123456789012345678901234567890', '123456789012345678901234567890'],
    ['18446744073709551616', '18446744073709551616'],
    ['-9223372036854775809', '-9223372036854775809'],
    ['1e999', '1e999'],
    ['-0', '-0'],
    ['1.50', '1.50'],
    ['2E-400', '2E-400'],
    ['"a\\u00e9/b"', '"a\\u00e9/b"'],
    ['{ "z" : [ 1.0 , " x y " ] , "a" : { } }', '{"z":[1.0," x y "],"a":{}}'],
    [deep, deep],
  ];
  const input = ids.map(([id]) => `{"jsonrpc":"2.0","id":${id},"method":"ping"}\n`).join('');
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

test('--version wins over --help and prints one line', async () => {
  const { status, stdout, stderr } = await run(['--help', '--version']);
  assert.equal(status, 0);
  assert.equal(stdout, 'tessaline-mcp 0.4.0 (MCP 2025-06-18)\n');
  assert.equal(stderr, '');
});

for (const [environment, folder] of [
  [{ HOME: '/home/someone', XDG_DATA_HOME: '' }, '/home/someone/.local/share/Tessaline'],
  [{ HOME: '/home/someone', XDG_DATA_HOME: '/srv/data' }, '/srv/data/Tessaline'],
]) {
  test(`--help names the default folder ${folder} and ends in the invocation path`, async () => {
    const { status, stdout } = await run(['--help'], '', environment);
    assert.equal(status, 0);
    assert.equal(
      stdout,
      'tessaline-mcp \u2014 Model Context Protocol server for Tessaline (stdio).\n' +
        `  --workspace <folder>   use a different workspace folder (default: ${folder})\n` +
        '  --tools                print the tool list and exit\n' +
        `Register:  claude mcp add tessaline -- ${binary}\n`,
    );
  });
}

test('--tools opens the workspace folder, then lists the tools', async (t) => {
  const workspace = join(temporaryFolder(t), 'nested', 'folder');
  const { status, stdout, stderr } = await run(['--workspace', workspace, '--tools', '--unknown-switch']);
  assert.equal(status, 0);
  assert.equal(stderr, '');
  const lines = stdout.trimEnd().split('\n');
  assert.equal(lines.length, 17);
  assert.equal(lines[0], 'list_collections  \u2014  List collections with their request counts and variable names.');
  assert.match(lines[16], /^oauth_token  \u2014  OAuth 2 token for a request/);
  assert.ok(existsSync(workspace), 'the workspace folder is created before the list is printed');
});

test('--workspace without a value falls back to the default folder', async (t) => {
  const home = temporaryFolder(t);
  const { status, stdout } = await run(['--workspace'], '{"id":1,"method":"ping"}\n', { HOME: home, XDG_DATA_HOME: '' });
  assert.equal(status, 0);
  assert.equal(stdout, '{"id":1,"jsonrpc":"2.0","result":{}}\n');
  assert.ok(existsSync(join(home, '.local', 'share', 'Tessaline')));
});
