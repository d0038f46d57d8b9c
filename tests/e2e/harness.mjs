// Shared helpers: the binary under test, temporary folders, pipe and SDK drivers, an HTTP server.
import { spawn } from 'node:child_process';
import { createServer } from 'node:http';
import { randomUUID } from 'node:crypto';
import { mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { Client } from '@modelcontextprotocol/sdk/client/index.js';
import { StdioClientTransport } from '@modelcontextprotocol/sdk/client/stdio.js';

export const binary = process.env.TESSALINE_BIN;
if (!binary) throw new Error('TESSALINE_BIN must name the tessaline-mcp binary under test');

export function temporaryFolder(t) {
  const folder = mkdtempSync(join(tmpdir(), 'tessaline-e2e-'));
  t.after(() => rmSync(folder, { recursive: true, force: true }));
  return folder;
}

// Ids and whole request items of workspace.json, as the desktop client writes them.
export const id = () => randomUUID().toUpperCase();
export const noAuth = { kind: 'none', token: '', username: '', password: '', apiKeyName: 'X-API-Key', apiKeyValue: '', apiKeyIn: 'header' };
export const storedRequest = (name, url, fields = {}) => ({ request: { _0: { id: id(), name, method: 'GET', url, query: [], headers: [],
  body: { kind: 'none', raw: '', form: [] }, auth: noAuth, notes: '', followRedirects: true, timeout: 10, ...fields } } });

// The text a stream wrote, once it ends.
export const collected = (stream) => new Promise((resolve) => {
  const chunks = [];
  stream.on('data', (chunk) => chunks.push(chunk)).on('end', () => resolve(Buffer.concat(chunks).toString('utf8')));
});

// Runs the binary, through `command` when given, with the given arguments and input.
export async function run(args, input = '', env = {}, command = [binary]) {
  const child = spawn(command[0], [...command.slice(1), ...args], { env: { ...process.env, ...env } });
  const status = new Promise((resolve, reject) => child.on('error', reject).on('close', resolve));
  child.stdin.on('error', () => {});  // a program that exits without reading closes the pipe
  child.stdin.end(input);
  const [stdout, stderr] = await Promise.all([collected(child.stdout), collected(child.stderr)]);
  return { status: await status, stdout, stderr };
}

// An SDK client of a fresh server on the given folder; stderr is kept to assert it stays empty.
export async function connect(t, workspace) {
  const transport = new StdioClientTransport({ command: binary, args: ['--workspace', workspace], env: process.env, stderr: 'pipe' });
  const stderr = [];
  transport.stderr.on('data', (chunk) => stderr.push(chunk));
  const client = new Client({ name: 'tessaline-e2e', version: '1.0.0' });
  await client.connect(transport);
  t.after(() => client.close());
  // The text of a tool result, and whether it is an error.
  const call = async (name, args = {}) => {
    const result = await client.callTool({ name, arguments: args });
    return { text: result.content[0].text, isError: result.isError };
  };
  return { client, call, stderr: () => Buffer.concat(stderr).toString('utf8') };
}

// An HTTP server on 127.0.0.1, closed when the test ends, that records each request whole (the
// body as a Buffer) in `arrivals`, then calls `answer(record, response)`.
export async function localServer(t, answer = (_request, response) => response.end('ok')) {
  const arrivals = [];
  const server = createServer(async (request, response) => {
    const arrival = { method: request.method, target: request.url, headers: request.headers, body: Buffer.concat(await request.toArray()) };
    arrivals.push(arrival);
    answer(arrival, response);
  });
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  t.after(() => server.close().closeAllConnections());
  return { base: `http://127.0.0.1:${server.address().port}`, arrivals };
}

// The binary on pipes, a line at a time: `send` writes a message as one line; `next(match)`
// resolves with the first reply or notification (parsed) that `match` accepts, whether read
// already or still to come; `lines` holds every line read, in order; `end()` closes the input
// and resolves with the exit status and stderr once the process has ended.
export function pipe(t, workspace) {
  const child = spawn(binary, ['--workspace', workspace]);
  const lines = [];
  const waiting = [];
  let partial = '';
  child.stdout.setEncoding('utf8').on('data', (chunk) => {
    const complete = (partial + chunk).split('\n');
    partial = complete.pop();
    for (const line of complete) {
      const message = JSON.parse(line);
      lines.push(message);
      for (const waiter of waiting.filter(({ match }) => match(message))) {
        waiting.splice(waiting.indexOf(waiter), 1);
        waiter.resolve(message);
      }
    }
  });
  const stderr = collected(child.stderr);
  const status = new Promise((resolve) => child.on('close', resolve));
  t.after(() => child.kill());
  const next = (match) => {
    const found = lines.find(match);
    return found ? Promise.resolve(found) : new Promise((resolve) => waiting.push({ match, resolve }));
  };
  return {
    lines,
    next,
    send: (message) => child.stdin.write(JSON.stringify({ jsonrpc: '2.0', ...message }) + '\n'),
    reply: (id) => next((message) => message.id === id),
    end: async () => {
      child.stdin.end();
      return { status: await status, stderr: await stderr };
    },
  };
}
