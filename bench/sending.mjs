// Per-call cost of one-off GET requests through an MCP server, beside a generic REST MCP
// server from npm and the curl command line, all against one local HTTP server.
// Usage: node bench/sending.mjs <tessaline-mcp> <peer index.js> <workspace folder>
import { createServer } from 'node:http';
import { spawnSync } from 'node:child_process';
import { performance } from 'node:perf_hooks';
import { createRequire } from 'node:module';

const require = createRequire(new URL('../tests/e2e/package.json', import.meta.url));
const { Client } = require('@modelcontextprotocol/sdk/client/index.js');
const { StdioClientTransport } = require('@modelcontextprotocol/sdk/client/stdio.js');

const [binary, peer, workspace] = process.argv.slice(2);
const calls = 1000;

const server = createServer((req, res) => {
  res.writeHead(200, { 'Content-Type': 'application/json' });
  res.end('{"ok":true,"items":[1,2,3]}');
});
await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
const base = `http://127.0.0.1:${server.address().port}`;

async function timeCalls(command, args, env, tool, argumentsFor) {
  const client = new Client({ name: 'bench', version: '1.0.0' });
  await client.connect(new StdioClientTransport({ command, args, env: { ...process.env, ...env }, stderr: 'ignore' }));
  await client.callTool({ name: tool, arguments: argumentsFor(0) });  // warm-up
  const started = performance.now();
  for (let i = 1; i <= calls; i++) {
    const result = await client.callTool({ name: tool, arguments: argumentsFor(i) });
    if (result.isError) throw new Error(result.content[0].text);
  }
  const perCall = (performance.now() - started) / calls;
  await client.close();
  return perCall;
}

const ours = await timeCalls(binary, ['--workspace', workspace], {}, 'send_adhoc',
  (i) => ({ method: 'GET', url: `${base}/items/${i}` }));
const theirs = await timeCalls('node', [peer], { REST_BASE_URL: base }, 'test_request',
  (i) => ({ method: 'GET', endpoint: `/items/${i}` }));
server.close();

// curl needs the server on another process's event loop: this one is blocked by spawnSync.
const { spawn } = await import('node:child_process');
const helper = spawn(process.execPath, ['-e', `require('http').createServer((q,s)=>{s.setHeader('Content-Type','application/json');s.end('{"ok":true}')}).listen(0,'127.0.0.1',function(){console.log(this.address().port)})`]);
const port = await new Promise((resolve) => helper.stdout.once('data', (d) => resolve(String(d).trim())));
const curlStarted = performance.now();
for (let i = 1; i <= calls; i++) spawnSync('curl', ['-s', '-o', '/dev/null', `http://127.0.0.1:${port}/items/${i}`]);
const curl = (performance.now() - curlStarted) / calls;
helper.kill();

console.log(`${calls} GETs, ms per call: tessaline-mcp send_adhoc ${ours.toFixed(3)}, ` +
  `dkmaker-mcp-rest-api test_request ${theirs.toFixed(3)} (ratio ${(ours / theirs).toFixed(2)}), curl command line ${curl.toFixed(3)}`);
