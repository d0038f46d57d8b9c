// A server that saves in a loop, killed with SIGKILL at random moments: the workspace file
// must always hold a whole state, old or new, never an empty, partial or mixed one.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { readFileSync, readdirSync } from 'node:fs';
import { join } from 'node:path';
import { setTimeout as sleep } from 'node:timers/promises';
import { binary, run, temporaryFolder } from './harness.mjs';

const kills = 200;

function callLine(id, value) {
  return JSON.stringify({ jsonrpc: '2.0', id, method: 'tools/call', params: { name: 'set_variable', arguments: { key: 'counter', value: String(value), collection: 'DummyJSON' } } });
}

test(`workspace.json survives ${kills} kills in the middle of saving`, async (t) => {
  const folder = temporaryFolder(t);
  let sent = 0;
  await run(['--workspace', folder], callLine(++sent, sent) + '\n');  // the sample, saved once
  for (let round = 0; round < kills; round++) {
    const child = spawn(binary, ['--workspace', folder], { stdio: ['pipe', 'ignore', 'ignore'] });
    const closed = new Promise((resolve) => child.on('close', resolve));
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
    const strays = readdirSync(folder).filter((name) => name.startsWith('workspace') && name !== 'workspace.json');
    assert.deepEqual(strays, [], `round ${round}: a file that could pass for the workspace`);
  }
});
