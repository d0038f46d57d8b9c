// The interchange tools end to end: requests imported from curl command lines, exported as a
// Postman collection that validates against the v2.1 schema and runs under newman, and
// rendered as code snippets that run on this machine. Every way of sending must deliver
// what the real curl delivers for the original command line to the same echo server; the
// unit tests show that the request builder sends exactly that too (CurlImportExchange).
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { spawn, spawnSync } from 'node:child_process';
import { createServer } from 'node:http';
import { readFileSync, writeFileSync, existsSync } from 'node:fs';
import { join } from 'node:path';
import Ajv from 'ajv';
import newman from 'newman';
import { connect, callTool, temporaryFolder } from './harness.mjs';

const schemaFile = new URL('../data/postman-v2.1/collection.schema.json', import.meta.url);

// Records every request; answers 200 "ok".
async function echoServer(t) {
  const arrivals = [];
  const server = createServer((request, response) => {
    const chunks = [];
    request.on('data', (chunk) => chunks.push(chunk));
    request.on('end', () => {
      arrivals.push({ method: request.method, target: request.url, headers: request.headers, body: Buffer.concat(chunks) });
      response.end('ok');
    });
  });
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  t.after(() => server.close());
  return { base: `http://127.0.0.1:${server.address().port}`, arrivals };
}

// The parts of a multipart body, sorted, as "name|filename|content".
function parts(arrival) {
  const boundary = /boundary=(.+)$/.exec(arrival.headers['content-type'] ?? '')?.[1];
  if (!boundary) return null;
  const result = [];
  for (const chunk of arrival.body.toString('latin1').split(`--${boundary}`).slice(1, -1)) {
    const [head, ...rest] = chunk.replace(/^\r\n/, '').split('\r\n\r\n');
    const name = /name="([^"]*)"/.exec(head)?.[1];
    const filename = /filename="([^"]*)"/.exec(head)?.[1] ?? '';
    result.push(`${name}|${filename}|${Buffer.from(rest.join('\r\n\r\n').replace(/\r\n$/, ''), 'latin1').toString()}`);
  }
  return result.sort();
}

// What a client sent on the request's behalf: the headers of `reference` (less those curl
// adds by itself) as this arrival has them, and the body; form bodies as their pairs, since
// form encoders may spell a space "+" or "%20".
function sent(arrival, reference) {
  const own = new Set(['host', 'content-length', 'accept-encoding', 'connection', 'expect']);
  const headers = {};
  for (const [name, value] of Object.entries(reference.headers)) {
    if (own.has(name) || (name === 'user-agent' && value.startsWith('curl/')) || (name === 'accept' && value === '*/*')) continue;
    const actual = arrival.headers[name];
    headers[name] = name === 'content-type' && actual?.startsWith('multipart/form-data') ? 'multipart/form-data' : actual;
  }
  const type = reference.headers['content-type'] ?? '';
  let body = arrival.body.toString();
  if (type.startsWith('multipart/form-data')) body = parts(arrival);
  else if (type.startsWith('application/x-www-form-urlencoded')) body = [...new URLSearchParams(body)];
  return { method: arrival.method, target: arrival.target, headers, body };
}

// Runs a program without blocking this process, whose echo server must keep answering.
function run(command, args, options) {
  return new Promise((resolve, reject) => {
    const child = spawn(command, args, { ...options, stdio: ['ignore', 'pipe', 'pipe'] });
    let output = '';
    child.stdout.on('data', (chunk) => (output += chunk));
    child.stderr.on('data', (chunk) => (output += chunk));
    const timer = setTimeout(() => child.kill(), 60000);
    child.on('error', reject);
    child.on('close', (status) => {
      clearTimeout(timer);
      if (status === 0) resolve(output);
      else reject(new Error(`${command} ${args.join(' ')} exited with ${status}\n${output}`));
    });
  });
}

function has(command, args = ['--version']) {
  return spawnSync(command, args, { encoding: 'utf8' }).status === 0;
}

// The runtimes of the snippets: each writes the snippet where it needs it and runs it in
// `folder`, where the files of multipart parts are.
function runtimes(folder) {
  const python = ['/usr/bin/python3', 'python3'].find((candidate) => has(candidate, ['-c', 'import requests']));
  const script = (name, text) => {
    const file = join(folder, name);
    writeFileSync(file, text);
    return file;
  };
  return {
    cURL: has('curl') && ((snippet) => run('bash', [script('snippet.sh', snippet)], { cwd: folder })),
    'JavaScript (fetch)': (snippet) => run(process.execPath, [script('fetch.js', snippet)], { cwd: folder }),
    'Node.js (https)': (snippet) => run(process.execPath, [script('node.js', snippet)], { cwd: folder }),
    'Python (requests)': python && ((snippet) => run(python, [script('snippet.py', snippet)], { cwd: folder })),
    'Go (net/http)':
      has('go', ['version']) &&
      ((snippet) => run('go', ['run', script('main.go', snippet)], { cwd: folder, env: { ...process.env, GO111MODULE: 'off', GOCACHE: join(folder, '.gocache') } })),
    // Tests have no terminal on stdin, which HTTPie would otherwise read as the body.
    HTTPie: has('http') && ((snippet) => run('bash', [script('httpie.sh', snippet.replace(/^http /, 'http --ignore-stdin '))], { cwd: folder })),
    'Swift (URLSession)': has('swift') && ((snippet) => run('swift', [script('main.swift', snippet)], { cwd: folder })),
  };
}

test('imported requests export, run under newman and render as snippets that send what curl sends', async (t) => {
  const folder = temporaryFolder(t);
  const echo = await echoServer(t);
  writeFileSync(join(folder, 'report.txt'), 'quarterly report\nline two\n');
  const commands = {
    'Get items': `curl '${echo.base}/items?q=a%20b&n=1' -H 'X-Trace: t1'`,
    'Post JSON': `curl ${echo.base}/json -H 'Content-Type: application/json' --data-raw $'{"text":"quote \\\\" backslash \\\\\\\\ line\\\\nnext é ☺"}'`,
    'Post form': `curl ${echo.base}/form -d 'name=Ada&lang=en+GB'`,
    'Put text': `curl -X PUT ${echo.base}/text -H 'Content-Type: text/plain' --data-binary $'multi\\nline \\'single\\' "double" $HOME \`tick\`'`,
    'Delete basic': `curl -X DELETE ${echo.base}/items/7 -u 'ali ce:pa:ss'`,
    Upload: `curl ${echo.base}/upload -F 'title=Report ☺' -F 'file=@${join(folder, 'report.txt')}'`,
    Bearer: `curl ${echo.base}/me --oauth2-bearer tok-123 -H 'Accept: application/json'`,
    Head: `curl -I ${echo.base}/health`,
  };

  // What the real curl delivers for each command line.
  const reference = {};
  for (const [name, command] of Object.entries(commands)) {
    await run('bash', ['-c', command.replace(/^curl /, 'curl -s -o /dev/null ')], { cwd: folder });
    reference[name] = echo.arrivals.pop();
  }

  const { client, stderr } = await connect(t, join(folder, 'workspace'));
  const seed = await callTool(client, 'create_request', { collection: 'E2E', name: 'Seed', url: `${echo.base}/seed` });
  assert.equal(seed.isError, false, seed.text);
  for (const [name, curl] of Object.entries(commands)) {
    const imported = await callTool(client, 'import_curl', { curl, collection: 'E2E', name });
    assert.equal(imported.isError, false, imported.text);
    assert.match(imported.text, new RegExp(`^Imported request ${name} .* into E2E\\. id: [0-9A-F-]{36}$`));
  }

  await t.test('the export validates against the Collection v2.1 schema', async () => {
    const exported = await callTool(client, 'export_postman', { collection: 'E2E' });
    assert.equal(exported.isError, false, exported.text);
    const document = JSON.parse(exported.text);
    const validate = new Ajv({ strict: false, allErrors: true }).compile(JSON.parse(readFileSync(schemaFile, 'utf8')));
    assert.ok(validate(document), JSON.stringify(validate.errors, null, 2));
    assert.equal(document.info.schema, 'https://schema.getpostman.com/json/collection/v2.1.0/collection.json');
    assert.deepEqual(document.item.map((item) => item.name), ['Seed', ...Object.keys(commands)]);
  });

  await t.test('newman sends each request as curl did', async () => {
    const document = JSON.parse((await callTool(client, 'export_postman', { collection: 'E2E' })).text);
    echo.arrivals.length = 0;
    const summary = await new Promise((resolve, reject) =>
      newman.run({ collection: document, reporters: [] }, (error, result) => (error ? reject(error) : resolve(result))),
    );
    assert.equal(summary.run.failures.length, 0, JSON.stringify(summary.run.failures));
    assert.equal(echo.arrivals.length, 1 + Object.keys(commands).length);
    Object.keys(commands).forEach((name, index) => {
      const expected = reference[name];
      assert.deepEqual(sent(echo.arrivals[index + 1], expected), sent(expected, expected), name);
    });
  });

  for (const [language, runSnippet] of Object.entries(runtimes(folder))) {
    await t.test(`${language} snippets send what curl sends`, { skip: !runSnippet && `no ${language} runtime here` }, async () => {
      for (const name of Object.keys(commands)) {
        const snippet = await callTool(client, 'generate_code', { request: name, language });
        assert.equal(snippet.isError, false, snippet.text);
        echo.arrivals.length = 0;
        await runSnippet(snippet.text);
        assert.equal(echo.arrivals.length, 1, `${name}: ${snippet.text}`);
        const expected = reference[name];
        assert.deepEqual(sent(echo.arrivals[0], expected), sent(expected, expected), `${name}\n${snippet.text}`);
      }
    });
  }

  await t.test('tool failures carry their messages', async () => {
    assert.deepEqual(await callTool(client, 'import_curl', { curl: 'wget https://x' }), {
      text: 'Error: Not a curl command: it must start with curl.',
      isError: true,
    });
    assert.deepEqual(await callTool(client, 'import_curl', {}), { text: 'Error: curl is required', isError: true });
    const unknown = await callTool(client, 'generate_code', { request: 'Seed', language: 'COBOL' });
    assert.equal(
      unknown.text,
      'Error: Unknown language. One of: cURL, Swift (URLSession), JavaScript (fetch), Node.js (https), Python (requests), Go (net/http), HTTPie',
    );
    const python = await callTool(client, 'generate_code', { request: 'Seed', language: 'python (REQUESTS)' });
    assert.ok(python.text.startsWith('import requests\n'));
    assert.ok(python.text.endsWith('print(response.status_code)\nprint(response.text)\n'));
  });
  assert.equal(stderr(), '');
});

test('import_curl into an empty workspace creates the collection “Imported”', async (t) => {
  const folder = temporaryFolder(t);
  writeFileSync(join(folder, 'workspace.json'), JSON.stringify({ version: 1, collections: [], environments: [] }));
  const { client } = await connect(t, folder);
  const imported = await callTool(client, 'import_curl', { curl: 'curl https://api.example.com/users' });
  assert.equal(imported.isError, false, imported.text);
  assert.match(imported.text, /^Imported request GET \/users \(GET https:\/\/api\.example\.com\/users\) into Imported\. id: /);
  const listed = await callTool(client, 'list_collections');
  assert.match(listed.text, /Imported/);
  assert.ok(existsSync(join(folder, 'workspace.json')));
});
