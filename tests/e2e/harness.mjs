// Shared helpers of the end-to-end tests: the binary under test, temporary workspaces, a
// line-oriented driver of the server through its pipes, and a local HTTP server.
import { spawn } from 'node:child_process';
import { createServer } from 'node:http';
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

// Runs the binary with the given arguments and input; resolves with its exit status and
// everything it wrote.
export function run(args, input = '', env = {}) {
  return new Promise((resolve, reject) => {
    const child = spawn(binary, args, { env: { ...process.env, ...env } });
    const stdout = [];
    const stderr = [];
    child.stdout.on('data', (chunk) => stdout.push(chunk));
    child.stderr.on('data', (chunk) => stderr.push(chunk));
    child.on('error', reject);
    child.on('close', (status) =>
      resolve({ status, stdout: Buffer.concat(stdout).toString('utf8'), stderr: Buffer.concat(stderr).toString('utf8') }),
    );
    child.stdin.on('error', () => {});  // a program that exits without reading closes the pipe
    child.stdin.end(input);
  });
}

// An SDK client connected to a fresh server on the given workspace folder. stderr is piped
// so that tests can assert that the server wrote nothing to it.
export async function connect(t, workspace, env = {}) {
  const transport = new StdioClientTransport({
    command: binary,
    args: ['--workspace', workspace],
    env: { ...process.env, ...env },
    stderr: 'pipe',
  });
  const stderr = [];
  transport.stderr.on('data', (chunk) => stderr.push(chunk));
  const client = new Client({ name: 'tessaline-e2e', version: '1.0.0' });
  await client.connect(transport);
  t.after(() => client.close());
  return { client, stderr: () => Buffer.concat(stderr).toString('utf8') };
}

// The text of a tool result, and whether it is an error.
export async function callTool(client, name, args = {}) {
  const result = await client.callTool({ name, arguments: args });
  return { text: result.content[0].text, isError: result.isError };
}

// An HTTP server on 127.0.0.1 at a free port, closed when the test ends. Every request is
// recorded whole (method, target, headers, body as a Buffer) before `answer(request, response)`
// is called with the record and the response to write; by default it answers 200 "ok".
export async function localServer(t, answer = (_request, response) => response.end('ok')) {
  const arrivals = [];
  const server = createServer((request, response) => {
    const chunks = [];
    request.on('data', (chunk) => chunks.push(chunk));
    request.on('end', () => {
      const arrival = { method: request.method, target: request.url, headers: request.headers, body: Buffer.concat(chunks) };
      arrivals.push(arrival);
      answer(arrival, response);
    });
  });
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  t.after(() => {
    server.closeAllConnections();
    server.close();
  });
  return { base: `http://127.0.0.1:${server.address().port}`, arrivals, server };
}
