// Long calls through a pipe, against HTTP servers in this process: a ping during a 5 s send, a
// cancel during a 5 s send (when the server sees the socket close, and the next call's answer),
// three sends at once to a 300 ms server, progress notifications per second of a 5 s send, one
// send at a time beside a C program that performs the same GETs with one libcurl handle, and
// peak memory while 8 sends receive 300 MB bodies at once.
// Where taskset and two CPUs are at hand, the one-at-a-time figures are taken with this script
// on one CPU and both programs on another, then with all three on one CPU: left to itself, the
// scheduler now and then keeps one program beside this script for a whole run and not the
// other, and a wake-up on the same CPU costs a third of one across CPUs, which swung the ratio
// between 1.0 and 3.5 from run to run of the same builds.
// Usage: node bench/long-calls.mjs <tessaline-mcp> <send-floor> <workspace folder>
import { spawn, spawnSync } from 'node:child_process';
import { createServer } from 'node:http';
import { readFileSync } from 'node:fs';
import { availableParallelism } from 'node:os';
import { performance } from 'node:perf_hooks';

const [binary, floor, workspace] = process.argv.slice(2);
const bodyLimitMB = 10 * 1024 * 1024 / 1e6;
const chunk = Buffer.alloc(1 << 20, 'x');

// /delay/<ms> answers after that long, /size/<bytes> with that many bytes, anything else at once.
// `closedAt[path]` is when the socket of the last request for that path closed.
const closedAt = {};
const server = createServer((request, response) => {
  const [, kind, value] = request.url.split('/');
  if (kind === 'delay') request.socket.once('close', () => { closedAt[request.url] = performance.now(); });
  if (kind === 'delay') return setTimeout(() => response.end('{"ok":true}'), Number(value));
  if (kind !== 'size') return response.end('{"ok":true,"items":[1,2,3]}');
  response.writeHead(200, { 'Content-Length': value });
  let left = Number(value);
  const more = () => {
    while (left > 0) {
      const piece = left >= chunk.length ? chunk : chunk.subarray(0, left);
      left -= piece.length;
      if (!response.write(piece)) return response.once('drain', more);
    }
    response.end();
  };
  more();
});
await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
const base = `http://127.0.0.1:${server.address().port}`;

// A process on pipes: `send(line)`, and `until(match)` resolving with the first line that
// matches, read already or still to come, and the time it was read; `nth(k)` with line k.
// `cpu`, when given, is the only CPU the process may run on.
function start(command, args, cpu) {
  const [file, argv] = cpu === undefined ? [command, args] : ['taskset', ['-c', String(cpu), command, ...args]];
  const child = spawn(file, argv, { stdio: ['pipe', 'pipe', 'ignore'] });
  const lines = [];
  const waiting = [];
  let partial = '';
  child.stdout.setEncoding('utf8').on('data', (text) => {
    const complete = (partial + text).split('\n');
    partial = complete.pop();
    for (const line of complete) {
      const entry = { line, at: performance.now() };
      lines.push(entry);
      for (const waiter of waiting.filter(({ match }) => match(line))) {
        waiting.splice(waiting.indexOf(waiter), 1);
        waiter.resolve(entry);
      }
    }
  });
  return {
    child,
    lines,
    send: (line) => child.stdin.write(line + '\n'),
    nth: (k) => lines[k] ?? new Promise((resolve) => waiting.push({ match: () => lines.length > k, resolve })),
    until: (match) => lines.find(({ line }) => match(line)) ?? new Promise((resolve) => waiting.push({ match, resolve })),
    end: () => new Promise((resolve) => { child.on('close', resolve); child.stdin.end(); }),
  };
}
const ours = (cpu) => start(binary, ['--workspace', workspace], cpu);
const floorProgram = (cpu) => start(floor, [`${base}/items/1`], cpu);
const send = (id, url, meta) => JSON.stringify({ jsonrpc: '2.0', id, method: 'tools/call',
  params: { name: 'send_adhoc', arguments: { method: 'GET', url, maxBodyChars: 100 }, ...(meta && { _meta: meta }) } });
const hasId = (id) => (line) => line.startsWith(`{"id":${id},`);
const median = (values) => [...values].sort((a, b) => a - b)[Math.floor(values.length / 2)];
const wait = (ms) => new Promise((resolve) => setTimeout(resolve, ms));
// Confines every thread of this script to `cpus` ("0", "0-3"); false when it cannot.
const confine = (cpus) => spawnSync('taskset', ['-a', '-p', '-c', cpus, String(process.pid)], { stdio: 'ignore' }).status === 0;

async function pingDuringSend() {
  const process = ours();
  process.send(send(1, `${base}/delay/5000`));
  await wait(200);
  const sent = performance.now();
  process.send('{"jsonrpc":"2.0","id":2,"method":"ping"}');
  const { at } = await process.until(hasId(2));
  await process.end();
  return at - sent;
}

async function cancelDuringSend() {
  const process = ours();
  process.send(send(1, `${base}/delay/5000`));
  await wait(200);
  const cancelled = performance.now();
  process.send('{"jsonrpc":"2.0","method":"notifications/cancelled","params":{"requestId":1}}');
  process.send('{"jsonrpc":"2.0","id":2,"method":"ping"}');
  const { at } = await process.until(hasId(2));
  await process.end();
  const closed = closedAt['/delay/5000'];
  return { closed: closed - cancelled, next: at - cancelled, replied: process.lines.some(({ line }) => hasId(1)(line)) };
}

async function threeAtOnce() {
  const process = ours();
  const sent = performance.now();
  for (const id of [1, 2, 3]) process.send(send(id, `${base}/delay/300`));
  const answers = await Promise.all([1, 2, 3].map((id) => process.until(hasId(id))));
  await process.end();
  return Math.max(...answers.map(({ at }) => at)) - sent;
}

async function progressRate() {
  const process = ours();
  const sent = performance.now();
  process.send(send(1, `${base}/delay/5000`, { progressToken: 'p' }));
  const { at } = await process.until(hasId(1));
  await process.end();
  const count = process.lines.filter(({ line }) => line.includes('"notifications/progress"')).length;
  return count / ((at - sent) / 1000);
}

// Median ms per call of `calls` sends one at a time to each of the two processes, after one
// warm-up call each. The calls alternate between them, so that both are timed under the same
// load and with this script's own code equally warm. Each reply is the next line: the C
// program's replies carry no id.
async function oneAtATime(processes, calls = 1000) {
  const durations = processes.map(() => []);
  for (let id = 0; id <= calls; id++) {
    for (const [k, process] of processes.entries()) {
      const sent = performance.now();
      process.send(send(id, `${base}/items/1`));
      const { at } = await process.nth(id);
      if (id > 0) durations[k].push(at - sent);
    }
  }
  await Promise.all(processes.map((process) => process.end()));
  return durations.map(median);
}

async function eightBigBodies() {
  const process = ours();
  const size = 300 * 1000 * 1000;
  for (let id = 1; id <= 8; id++) process.send(send(id, `${base}/size/${size}?${id}`));
  let peak = 0;
  const sample = setInterval(() => {
    const status = readFileSync(`/proc/${process.child.pid}/status`, 'utf8');
    peak = Math.max(peak, Number(status.match(/VmHWM:\s+(\d+) kB/)[1]) * 1024 / 1e6);
  }, 50);
  await Promise.all([1, 2, 3, 4, 5, 6, 7, 8].map((id) => process.until(hasId(id))));
  clearInterval(sample);
  await process.end();
  return peak;
}

console.log('Long calls (send_adhoc through a pipe, local HTTP servers):');
const ping = await pingDuringSend();
console.log(`  ping during a 5 s send answered after ${ping.toFixed(1)} ms (goal <= 50)`);
const cancel = await cancelDuringSend();
console.log(`  cancel during a 5 s send: socket closed after ${cancel.closed.toFixed(1)} ms (goal <= 100), ` +
  `next call answered after ${cancel.next.toFixed(1)} ms (goal <= 50), reply for the cancelled id: ${cancel.replied ? 'yes' : 'none'}`);
const three = await threeAtOnce();
console.log(`  three sends at once to a 300 ms server all answered after ${three.toFixed(0)} ms (goal <= 400)`);
const rate = await progressRate();
console.log(`  progress notifications of a 5 s send with a token: ${rate.toFixed(2)} a second (goal >= 1)`);
const cpuCount = availableParallelism();
// The goal holds in both placements: a host and a server each on a CPU of their own, and all
// on one CPU, where a wake-up is nearly free and the CPU time each send costs shows whole.
// The second is the stricter: the build before the message loop's threads measured 1.3 in the
// first and 1.8 in the second.
const placements = cpuCount >= 2 && confine('0')
  ? [{ label: 'this script on CPU 0, both programs on CPU 1', cpu: 1 },
     { label: 'all on CPU 0, where only CPU time counts', cpu: 0 }]
  : [{ label: 'placed by the scheduler' }];
for (const { label, cpu } of placements) {
  const [single, floorMedian] = await oneAtATime([ours(cpu), floorProgram(cpu)]);
  console.log(`  one send at a time (${label}), median: ${single.toFixed(3)} ms, C program with one libcurl handle ` +
    `${floorMedian.toFixed(3)} ms (ratio ${(single / floorMedian).toFixed(2)}, goal <= 1.3)`);
}
if (placements.length > 1) confine(`0-${cpuCount - 1}`);
const peak = await eightBigBodies();
console.log(`  8 sends of 300 MB bodies at once: peak memory ${peak.toFixed(1)} MB (goal < ${(8 * bodyLimitMB + 64).toFixed(1)} MB)`);
server.close();
