// A server that saves in a loop, killed with SIGKILL at random moments: the workspace file
// must always hold a whole state, old or new, never an empty, partial or mixed one; no change
// the server acknowledged may be lost; and the temporaries of interrupted saves are removed
// when the folder is opened again.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { existsSync, readFileSync, readdirSync, utimesSync } from 'node:fs';
import { join } from 'node:path';
import { setTimeout as sleep } from 'node:timers/promises';
import { binary, run, temporaryFolder } from './harness.mjs';

const kills = 200;

function callLine(id, value) {
  return JSON.stringify({ jsonrpc: '2.0', id, method: 'tools/call', params: { name: 'set_variable', arguments: { key: 'counter', value: String(value), collection: 'DummyJSON' } } });
}

function temporaries(folder) {
  return ['', 'versions', 'history'].flatMap((sub) => {
    const where = join(folder, sub);
    return existsSync(where) ? readdirSync(where).filter((name) => name.endsWith('.tmp')).map((name) => join(where, name)) : [];
  });
}

test(`workspace.json survives ${kills} kills in the middle of saving`, async (t) => {
  const folder = temporaryFolder(t);
  let sent = 0;
  let lost = 0;
  await run(['--workspace', folder], callLine(++sent, sent) + '\n');  // the sample, saved once
  for (let round = 0; round < kills; round++) {
    const child = spawn(binary, ['--workspace', folder], { stdio: ['pipe', 'pipe', 'ignore'] });
    const closed = new Promise((resolve) => child.on('close', resolve));
    let acknowledged = 0;
    let replies = '';
    child.stdout.on('data', (chunk) => {
      replies += chunk;
      const lines = replies.split('\n');
      replies = lines.pop();
      for (const line of lines) {
        const reply = JSON.parse(line);
        if (!reply.result.isError) acknowledged = Math.max(acknowledged, reply.id);
      }
    });
    let lines = '';
    for (let i = 0; i < 400; i++) lines += callLine(++sent, sent) + '\n';
    child.stdin.on('error', () => {});
    child.stdin.write(lines);
    await sleep(Math.random() * 40);
    child.kill('SIGKILL');
    await closed;

    const text = readFileSync(join(folder, 'workspace.json'), 'utf8');
    let workspace;
    assert.doesNotThrow(() => { workspace = JSON.parse(text); }, `round ${round}: not whole JSON (${text.length} bytes)`);
    assert.equal(workspace.version, 1);
    const counter = workspace.collections[0].variables.find((v) => v.key === 'counter');
    if (counter) assert.ok(Number(counter.value) <= sent, `round ${round}: a value that was never sent`);
    if (acknowledged > Number(counter?.value ?? 0)) lost += 1;
    const strays = readdirSync(folder).filter((name) => name.startsWith('workspace') && name !== 'workspace.json');
    assert.deepEqual(strays, [], `round ${round}: a file that could pass for the workspace`);
  }
  // Interrupted saves are old by the time the folder is opened again in real use.
  const left = temporaries(folder);
  const old = new Date(Date.now() - 6 * 60 * 1000);
  for (const path of left) utimesSync(path, old, old);
  await run(['--workspace', folder], JSON.stringify({ jsonrpc: '2.0', id: 1, method: 'tools/call', params: { name: 'list_collections' } }) + '\n');
  const remaining = temporaries(folder);
  console.log(`kills: ${kills}, acknowledged changes lost: ${lost}, temporaries left by kills: ${left.length}, after reopening: ${remaining.length}`);
  assert.equal(lost, 0);
  assert.deepEqual(remaining, []);
});
