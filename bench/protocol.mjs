// Start-up and throughput of the stdio server, printed beside the floor that any process
// reaches here. Usage: node bench/protocol.mjs <tessaline-mcp> <floor-binary> <workspace>
import { spawn } from 'node:child_process';
import { performance } from 'node:perf_hooks';

const [binary, floor, workspace] = process.argv.slice(2);
const initialize = '{"jsonrpc":"2.0","id":1,"method":"initialize","params":{}}\n';

// Milliseconds from spawning the program to reading the first line it writes.
function firstReply(command, args) {
  return new Promise((resolve, reject) => {
    const started = performance.now();
    const child = spawn(command, args);
    child.on('error', reject);
    child.stdout.once('data', () => {
      resolve(performance.now() - started);
      child.stdin.end();
    });
    child.stdin.write(initialize);
  });
}

const median = (times) => [...times].sort((a, b) => a - b)[Math.floor(times.length / 2)];

// Medians of both programs' start-up, spawned in turns after one unmeasured spawn each, so
// that a passing load on the machine weighs on both alike.
async function medianStartups(programs, runs = 20) {
  const times = programs.map(() => []);
  for (const [command, args] of programs) await firstReply(command, args);
  for (let i = 0; i < runs; i++) {
    for (const [index, [command, args]] of programs.entries()) times[index].push(await firstReply(command, args));
  }
  return times.map(median);
}

// Lines answered per second when the host writes pings as fast as the pipe takes them.
function pingRate(count) {
  return new Promise((resolve, reject) => {
    const child = spawn(binary, ['--workspace', workspace]);
    child.on('error', reject);
    let lines = 0;
    const started = performance.now();
    child.stdout.on('data', (chunk) => {
      for (const byte of chunk) if (byte === 10) lines++;
      if (lines === count) {
        resolve(count / ((performance.now() - started) / 1000));
        child.stdin.end();
      }
    });
    let payload = '';
    for (let i = 1; i <= count; i++) payload += `{"jsonrpc":"2.0","id":${i},"method":"ping"}\n`;
    child.stdin.write(payload);
  });
}

const [ours, base] = await medianStartups([[binary, ['--workspace', workspace]], [floor, []]]);
console.log(`initialize reply, median of 20 spawns: tessaline-mcp ${ours.toFixed(2)} ms, ` +
  `minimal C program ${base.toFixed(2)} ms (ratio ${(ours / base).toFixed(2)})`);
const rate = await pingRate(200000);
console.log(`ping throughput through a pipe: ${Math.round(rate).toLocaleString('en-US')} lines/s`);
