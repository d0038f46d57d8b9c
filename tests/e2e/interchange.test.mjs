// The interchange tools end to end: each command line below, run by the real curl against a
// local server, is the reference that import_curl then send_request must match. The first
// group must match it too exported and run under newman, and as snippets run on this machine.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { execFile, spawnSync } from 'node:child_process';
import { readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { promisify } from 'node:util';
import Ajv from 'ajv';
import newman from 'newman';
import { connect, localServer, temporaryFolder } from './harness.mjs';

const schemaFile = new URL('../data/postman-v2.1/collection.schema.json', import.meta.url);

// Command lines as pasted from terminals, documentation and browsers. A pair's second is what is
// imported instead: the same command as a browser copies it for Windows' cmd, which bash cannot run.
const sentEverywhere = (folder) => ({
  'Get items': `curl 'http://api.test/items?q=a%20b&n=1' -H 'X-Trace: t1' -H 'X-Tag: a' -H 'X-Tag: b'`,
  'Post JSON': `curl http://api.test/json -H 'Content-Type: application/json' --data-raw $'{"text":"quote \\\\" backslash \\\\\\\\ line\\\\nnext é ☺"}'`,
  'Post form': `curl http://api.test/form -d 'name=Ada&lang=en+GB'`,
  'Put text': `curl -X PUT http://api.test/text -H 'Content-Type: text/plain' --data-binary $'multi\\nline \\'single\\' "double" $HOME \`tick\` \\x01'`,
  'Delete basic': `curl -X DELETE http://api.test/items/7 -u 'ali ce:pa:ss'`,
  Upload: `curl http://api.test/upload -F 'title=Report ☺' -F 'file=@${join(folder, 'report.bin')}' --form-string 'mixed=a;b'`,
  Bearer: `curl http://api.test/me --oauth2-bearer tok-123 -H 'Accept: application/json'`,
  Head: 'curl -I http://api.test/health',
});
const sentByTheServer = (folder) => ({
  'Encoded query': `curl -m 5 -L --compressed -k 'https://api.example.com/search?q=%E2%9C%93&x=1+2'`,
  'Form with space': 'curl -d "name=Ada Lovelace" https://api.example.com/form',
  'Get with data': `curl -G --data-urlencode 'q=a b' -d page=2 'https://search.example.com/s?x=1'`,
  'User without password': 'curl https://api.stripe.com/v1/charges -u sk_test_123: -d amount=2000 -d "description=My First Test Charge"',
  'Part from a file': `curl -F 'meta=<${join(folder, 'meta.json')}' -F 'note=hello;type=text/plain' https://api.example.com/upload`,
  'Literal parts': `curl --form-string 'raw=<not-a-file;x' -F 'q="x;y"' https://api.example.com/upload`,
  'Odd header values': `curl -H 'X-Empty;' -H 'X-Tab:\tvalue' https://api.example.com/headers`,
  Documentation: `curl -L \\\n  -X POST \\\n  -H "Accept: application/vnd.github+json" \\\n  -H "Authorization: Bearer <YOUR-TOKEN>" \\\n  https://api.github.com/repos/OWNER/REPO/issues \\\n  -d '{"title":"Found a bug","body":"I'\\''m having a problem with this."}'`,
  'Documentation form': `curl -X POST "https://api.twilio.com/2010-04-01/Messages.json" \\\n--data-urlencode "Body=Hi there ☺" \\\n--data-urlencode "From=+15017122661" \\\n-u AC123:your_auth_token`,
  'Browser bash': `curl 'https://api.example.com/graphql' \\\n  -H 'accept: */*' \\\n  -H 'accept-language: en-GB,en;q=0.9' \\\n  -H 'content-type: application/json' \\\n  -H 'user-agent: Mozilla/5.0 (X11; Linux x86_64) AppleWebKit/537.36' \\\n  --data-raw $'{"query":"{ me { name } }","variables":{"note":"it\\'s ok"}}' \\\n  --compressed`,
  'Browser cmd JSON': [
    `curl 'https://api.example.com/graphql' -H 'content-type: application/json' --data-raw '{"query":"{ me }","variables":{"note":"100% it'\\''s ^ok"}}' --compressed`,
    'curl ^"https://api.example.com/graphql^" ^\n  -H ^"content-type: application/json^" ^\n  --data-raw ^"^{^\\^"query^\\^":^\\^"^{ me ^}^\\^",^\\^"variables^\\^":^{^\\^"note^\\^":^\\^"100^% it\'s ^^ok^\\^"^}^}^" ^\n  --compressed',
  ],
});

// The headers of the arrivals less those a client adds by itself or that depend on framing.
const ownHeaderNames = (...arrivals) => [...new Set(arrivals.flatMap((arrival) => Object.entries(arrival.headers))
  .filter(([name, value]) => !['host', 'content-length', 'accept-encoding', 'connection', 'expect'].includes(name) &&
    !(name === 'user-agent' && /^(curl|Tessaline)\//.test(value)) && !(name === 'accept' && value === '*/*'))
  .map(([name]) => name))].sort();

// The parts of a multipart body, sorted, as "name|filename|content" with the bytes as latin1.
function parts(arrival) {
  const boundary = /boundary=(.+)$/.exec(arrival.headers['content-type'])[1];
  return arrival.body.toString('latin1').split(`--${boundary}`).slice(1, -1).map((chunk) => {
    const [head, ...rest] = chunk.replace(/^\r\n/, '').split('\r\n\r\n');
    const field = (key) => new RegExp(`${key}="([^"]*)"`).exec(head)?.[1] ?? '';
    return `${field('name')}|${field('filename')}|${rest.join('\r\n\r\n').replace(/\r\n$/, '')}`;
  }).sort();
}

// The named headers and the body. Multipart bodies compare as parts, boundaries being each
// client's own, and form bodies, unless `exact`, as pairs: a space may be "+" or "%20".
function sent(arrival, headerNames, exact = false) {
  const type = arrival.headers['content-type'] ?? '';
  const multipart = type.startsWith('multipart/form-data');
  const headers = Object.fromEntries(headerNames.map((name) =>
    [name, name === 'content-type' && multipart ? 'multipart/form-data' : arrival.headers[name]?.trim()]));
  const text = arrival.body.toString();
  const form = !exact && type.startsWith('application/x-www-form-urlencoded');
  return { method: arrival.method, target: arrival.target, headers, body: multipart ? parts(arrival) : form ? [...new URLSearchParams(text)] : text };
}

// Runs a program without blocking this process, whose local server must keep answering.
const run = (command, args, options) => promisify(execFile)(command, args, { timeout: 60000, ...options });
const has = (command, args = ['--version']) => spawnSync(command, args).status === 0;

// The runtimes of the snippets, by language name.
function runtimes(folder) {
  // In `folder`, where the files of multipart parts are.
  const runner = (file, program, args = [], env = process.env) => (snippet) => {
    writeFileSync(join(folder, file), snippet);
    return run(program, [...args, join(folder, file)], { cwd: folder, env });
  };
  const python = ['/usr/bin/python3', 'python3'].find((candidate) => has(candidate, ['-c', 'import requests']));
  return {
    cURL: runner('snippet.sh', 'bash'),
    'JavaScript (fetch)': runner('fetch.js', process.execPath),
    'Node.js (https)': runner('node.js', process.execPath),
    'Python (requests)': python && runner('snippet.py', python),
    'Go (net/http)': has('go', ['version']) && runner('main.go', 'go', ['run'], { ...process.env, GO111MODULE: 'off', GOCACHE: join(folder, '.gocache') }),
    // Tests have no terminal on stdin, which HTTPie would otherwise read as the body.
    HTTPie: has('http') && ((snippet) => runner('httpie.sh', 'bash')(snippet.replace(/^http /, 'http --ignore-stdin '))),
    'Swift (URLSession)': has('swift') && runner('main.swift', 'swift'),
  };
}

test('imported curl commands send, export, run under newman and render as snippets that send what curl sends', async (t) => {
  const folder = temporaryFolder(t);
  const server = await localServer(t);
  writeFileSync(join(folder, 'report.bin'), Buffer.from('quarterly report\n\x00\x01\xff\xfe\r\nline two\n', 'latin1'));
  writeFileSync(join(folder, 'meta.json'), '{"kind": "meta"}');
  const localised = (text) => text.replace(/https?:\/\/[A-Za-z0-9.-]+(:[0-9]+)?/g, server.base);
  const everywhere = Object.keys(sentEverywhere(folder));
  const commands = Object.entries({ ...sentEverywhere(folder), ...sentByTheServer(folder) }).map(([name, command]) => {
    const [curl, pasted = curl] = [command].flat();
    return { name, curl: localised(curl), pasted: localised(pasted) };
  });

  // What the real curl delivers for each command line.
  const reference = {};
  for (const { name, curl } of commands) {
    await run('bash', ['-c', curl.replace(/^curl /, 'curl -s -o /dev/null ')], { cwd: folder });
    assert.equal(server.arrivals.length, 1, `curl sent nothing for ${name}`);
    reference[name] = server.arrivals.pop();
  }

  // Other clients add headers of their own: only those that curl sent are compared.
  const assertSentAsCurl = (arrival, name, message = name) => {
    const names = ownHeaderNames(reference[name]);
    assert.deepEqual(sent(arrival, names), sent(reference[name], names), message);
  };

  const { call, stderr } = await connect(t, join(folder, 'workspace'));
  assert.equal((await call('create_request', { collection: 'E2E', name: 'Seed', url: `${server.base}/seed` })).isError, false);
  for (const { name, pasted } of commands) {
    const imported = await call('import_curl', { curl: pasted, collection: 'E2E', name });
    assert.match(imported.text, new RegExp(`^Imported request ${name} \\([A-Z]+ http://127\\.0\\.0\\.1:\\d+/.*\\) into E2E\\. id: [0-9A-F-]{36}$`));
  }

  await t.test('send_request sends what curl sent', async () => {
    for (const { name } of commands) {
      const answer = await call('send_request', { request: name });
      assert.equal(answer.isError, false, `${name}: ${answer.text}`);
      const arrival = server.arrivals.pop();
      const names = ownHeaderNames(reference[name], arrival);
      assert.deepEqual(sent(arrival, names, true), sent(reference[name], names, true), name);
    }
  });

  await t.test('the export validates against the Collection v2.1 schema, and newman sends each request as curl did', async () => {
    const document = JSON.parse((await call('export_postman', { collection: 'E2E' })).text);
    const validate = new Ajv({ strict: false, allErrors: true }).compile(JSON.parse(readFileSync(schemaFile, 'utf8')));
    assert.ok(validate(document), JSON.stringify(validate.errors, null, 2));
    assert.deepEqual(document.item.map((item) => item.name), ['Seed', ...commands.map((command) => command.name)]);
    document.item = document.item.filter((item) => everywhere.includes(item.name));
    server.arrivals.length = 0;
    const summary = await new Promise((resolve, reject) =>
      newman.run({ collection: document, reporters: [] }, (error, result) => (error ? reject(error) : resolve(result))));
    assert.equal(summary.run.failures.length, 0, JSON.stringify(summary.run.failures));
    everywhere.forEach((name, index) => assertSentAsCurl(server.arrivals[index], name));
  });

  for (const [language, runSnippet] of Object.entries(runtimes(folder))) {
    await t.test(`${language} snippets send what curl sends`, { skip: !runSnippet && `no ${language} runtime here` }, async () => {
      for (const name of everywhere) {
        const snippet = await call('generate_code', { request: name, language: language.toLowerCase() });  // names match in any case
        server.arrivals.length = 0;
        await runSnippet(snippet.text);
        assert.equal(server.arrivals.length, 1, `${name}: ${snippet.text}`);
        assertSentAsCurl(server.arrivals[0], name, `${name}\n${snippet.text}`);
      }
    });
  }

  assert.equal(stderr(), '');
});

test('import_curl into an empty workspace creates the collection “Imported”; what cannot be converted is told', async (t) => {
  const folder = temporaryFolder(t);
  writeFileSync(join(folder, 'workspace.json'), JSON.stringify({ version: 1, collections: [], environments: [] }));
  const { call } = await connect(t, folder);
  const imported = await call('import_curl', { curl: "curl 'https://{{host}}/users?k={{key}}&h={{host}}'" });
  assert.match(imported.text, /^Imported request GET \/users \(GET https:\/\/\{\{host\}\}\/users\?k=\{\{key\}\}&h=\{\{host\}\}\) into Imported\. id: /);
  assert.deepEqual(await call('generate_code', { request: 'GET /users' }), { text: 'Error: Undefined variables: host, key', isError: true });
  assert.deepEqual(await call('generate_code', { request: 'GET /users', language: 'COBOL' }), { text: 'Error: Unknown language. One of: ' +
    'cURL, Swift (URLSession), JavaScript (fetch), Node.js (https), Python (requests), Go (net/http), HTTPie', isError: true });
  assert.deepEqual(await call('import_curl', {}), { text: 'Error: curl is required', isError: true });
});
