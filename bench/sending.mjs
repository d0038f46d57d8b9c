// Per-call cost of one-off GET requests through an MCP server over HTTP and over HTTPS,
// beside a generic REST MCP server from npm and the curl command line, all against local
// servers (bench/sending-server.mjs); our process's CPU time per HTTPS send; and its peak
// memory while it receives a 2 GiB body.
// Usage: node bench/sending.mjs <tessaline-mcp> <peer index.js> <workspace folder>
import { spawn, spawnSync } from 'node:child_process';
import { readFileSync } from 'node:fs';
import { fileURLToPath } from 'node:url';
import { performance } from 'node:perf_hooks';
import { createRequire } from 'node:module';

const require = createRequire(new URL('../tests/e2e/package.json', import.meta.url));
const { Client } = require('@modelcontextprotocol/sdk/client/index.js');
const { StdioClientTransport } = require('@modelcontextprotocol/sdk/client/stdio.js');

const [binary, peer, workspace] = process.argv.slice(2);
const calls = 1000;
const ca = fileURLToPath(new URL('../tests/data/tls/ca.pem', import.meta.url));
const bodyLimitMB = 10 * 1024 * 1024 / 1e6;

const servers = spawn(process.execPath, [fileURLToPath(new URL('sending-server.mjs', import.meta.url))],
  { stdio: ['ignore', 'pipe', 'inherit'] });
const ports = JSON.parse(await new Promise((resolve) => servers.stdout.once('data', resolve)));
const base = (scheme) => `${scheme}://127.0.0.1:${ports[scheme]}`;

const median = (values) => [...values].sort((a, b) => a - b)[Math.floor(values.length / 2)];

// Clock ticks of CPU the process has used, user and system.
function cpuTicks(pid) {
  const fields = readFileSync(`/proc/${pid}/stat`, 'utf8').split(') ')[1].split(' ');
  return Number(fields[11]) + Number(fields[12]);
}
const ticksPerSecond = Number(spawnSync('getconf', ['CLK_TCK']).stdout) || 100;

// Trust comes only from the variables given: a CA bundle named in this process's environment
// would take precedence over them.
async function connect(command, args, env) {
  const inherited = { ...process.env };
  for (const name of ['CURL_CA_BUNDLE', 'SSL_CERT_FILE', 'SSL_CERT_DIR', 'NODE_EXTRA_CA_CERTS']) delete inherited[name];
  const client = new Client({ name: 'bench', version: '1.0.0' });
  const transport = new StdioClientTransport({ command, args, env: { ...inherited, ...env }, stderr: 'ignore' });
  await client.connect(transport);
  return { client, pid: transport.pid };
}

// Median milliseconds of `calls` calls after one warm-up call, and the CPU milliseconds per
// call the server process used for them.
async function timeCalls({ client, pid }, tool, argumentsFor) {
  const call = async (i) => {
    const result = await client.callTool({ name: tool, arguments: argumentsFor(i) });
    if (result.isError) throw new Error(result.content[0].text);
  };
  await call(0);
  const cpuBefore = cpuTicks(pid);
  const durations = [];
  for (let i = 1; i <= calls; i++) {
    const started = performance.now();
    await call(i);
    durations.push(performance.now() - started);
  }
  return { median: median(durations), cpu: (cpuTicks(pid) - cpuBefore) * 1000 / ticksPerSecond / calls };
}

function curlMedian(scheme) {
  const durations = [];
  for (let i = 1; i <= calls; i++) {
    const started = performance.now();
    spawnSync('curl', ['-s', '-o', '/dev/null', '--cacert', ca, `${base(scheme)}/items/${i}`]);
    durations.push(performance.now() - started);
  }
  return median(durations);
}

const figures = {};
for (const scheme of ['http', 'https']) {
  const ours = await connect(binary, ['--workspace', workspace], { SSL_CERT_FILE: ca });
  figures[scheme] = { ours: await timeCalls(ours, 'send_adhoc', (i) => ({ method: 'GET', url: `${base(scheme)}/items/${i}` })) };
  await ours.client.close();
  const theirs = await connect('node', [peer], { REST_BASE_URL: base(scheme), NODE_EXTRA_CA_CERTS: ca });
  figures[scheme].theirs = await timeCalls(theirs, 'test_request', (i) => ({ method: 'GET', endpoint: `/items/${i}` }));
  await theirs.client.close();
  figures[scheme].curl = curlMedian(scheme);
}

const big = await connect(binary, ['--workspace', workspace], {});
const result = await big.client.callTool({ name: 'send_adhoc', arguments: { method: 'GET', url: `${base('http')}/big`, maxBodyChars: 100 } });
const summary = JSON.parse(result.content[0].text);
const peakMB = Number(readFileSync(`/proc/${big.pid}/status`, 'utf8').match(/VmHWM:\s+(\d+) kB/)[1]) * 1024 / 1e6;
await big.client.close();
servers.kill();

const line = (scheme, goal) => {
  const { ours, theirs, curl } = figures[scheme];
  return `  ${scheme.toUpperCase().padEnd(5)}: tessaline-mcp ${ours.median.toFixed(3)}, dkmaker-mcp-rest-api ${theirs.median.toFixed(3)} ` +
    `(ratio ${(ours.median / theirs.median).toFixed(2)}, goal <= ${goal}), curl command line ${curl.toFixed(3)}`;
};
console.log(`${calls} send_adhoc GETs per server, median ms per call:`);
console.log(line('http', 0.4));
console.log(line('https', 0.5));
console.log(`  tessaline-mcp HTTPS / HTTP: ${(figures.https.ours.median / figures.http.ours.median).toFixed(2)} (goal <= 1.3)`);
console.log(`  tessaline-mcp CPU per send after the first: HTTPS ${figures.https.ours.cpu.toFixed(3)} ms (goal < 1), ` +
  `HTTP ${figures.http.ours.cpu.toFixed(3)} ms`);
console.log(`2 GiB body: ${summary.bytes} bytes counted, tessaline-mcp peak memory ${peakMB.toFixed(1)} MB ` +
  `(goal < ${(bodyLimitMB + 64).toFixed(1)} MB)`);
