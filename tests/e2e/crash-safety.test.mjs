// A server saving in a loop, killed at random moments, leaves a whole workspace.json, old or
// new, that loses no acknowledged change; reopening removes the interrupted saves' temporaries.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { existsSync, readFileSync, readdirSync, utimesSync } from 'node:fs';
import { join } from 'node:path';
import { setTimeout as sleep } from 'node:timers/promises';
import { binary, collected, run, temporaryFolder } from './harness.mjs';

const kills = 60;
const set = (id) => JSON.stringify({ jsonrpc: '2.0', id, method: 'tools/call',
  params: { name: 'set_variable', arguments: { key: 'counter', value: String(id), collection: 'DummyJSON' } } }) + '\n';
const temporaries = (folder) => ['', 'versions', 'history'].map((sub) => join(folder, sub)).filter(existsSync)
  .flatMap((where) => readdirSync(where).filter((name) => name.endsWith('.tmp')).map((name) => join(where, name)));

test(`workspace.json survives ${kills} kills in the middle of saving`, async (t) => {
  const folder = temporaryFolder(t);
  let sent = 1;
  await run(['--workspace', folder], set(sent));  // the sample, saved once
  for (let round = 0; round < kills; round++) {
    const child = spawn(binary, ['--workspace', folder], { stdio: ['pipe', 'pipe', 'ignore'] });
    const [closed, replies] = [new Promise((resolve) => child.on('close', resolve)), collected(child.stdout)];
    child.stdin.on('error', () => {});
    child.stdin.write(Array.from({ length: 400 }, () => set(++sent)).join(''));
    // The kill lands at a random moment of the saves, however long the server took to start.
    await Promise.race([once(child.stdout, 'data'), closed]);
    await sleep(Math.random() * 20);
    child.kill('SIGKILL');
    await closed;
    const acknowledged = Math.max(0, ...(await replies).split('\n').slice(0, -1).map((line) => JSON.parse(line))
      .filter((reply) => !reply.result.isError).map((reply) => reply.id));

    const text = readFileSync(join(folder, 'workspace.json'), 'utf8');
    let workspace;
    assert.doesNotThrow(() => { workspace = JSON.parse(text); }, `round ${round}: not whole JSON (${text.length} bytes)`);
    const counter = Number(workspace.collections[0].variables.find((v) => v.key === 'counter').value);
    assert.ok(counter <= sent, `round ${round}: a value that was never sent`);
    assert.ok(acknowledged <= counter, `round ${round}: change ${acknowledged} was acknowledged, the file holds ${counter}`);
    const strays = readdirSync(folder).filter((name) => name.startsWith('workspace') && name !== 'workspace.json');
    assert.deepEqual(strays, [], `round ${round}: a file that could pass for the workspace`);
  }
  // Interrupted saves are old by the time the folder is opened again in real use.
  const old = new Date(Date.now() - 6 * 60 * 1000);
  for (const path of temporaries(folder)) utimesSync(path, old, old);
  await run(['--workspace', folder], JSON.stringify({ jsonrpc: '2.0', id: 1, method: 'tools/call', params: { name: 'list_collections' } }) + '\n');
  assert.deepEqual(temporaries(folder), []);
});
