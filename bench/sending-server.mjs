// The servers of the sending benchmark, in a process of their own so that the benchmark may
// block its event loop while it runs the curl command line: one plain HTTP server, one TLS
// server offering HTTP/2 and HTTP/1.1 with the test certificate, each answering a small JSON
// document, or a 2 GiB body at /big. Prints the two ports as one JSON line.
import { createServer } from 'node:http';
import { createSecureServer } from 'node:http2';
import { readFileSync } from 'node:fs';

const tls = new URL('../tests/data/tls/', import.meta.url);
const bigSize = 2 * 1024 ** 3;
const chunk = Buffer.alloc(1 << 20, 'x');

function answer(req, res) {
  if (req.url !== '/big') {
    res.writeHead(200, { 'Content-Type': 'application/json' });
    res.end('{"ok":true,"items":[1,2,3]}');
    return;
  }
  res.writeHead(200, { 'Content-Type': 'application/octet-stream', 'Content-Length': bigSize });
  let sent = 0;
  const more = () => {
    while (sent < bigSize) {
      sent += chunk.length;
      if (!res.write(chunk)) return res.once('drain', more);
    }
    res.end();
  };
  more();
}

const plain = createServer(answer);
const secure = createSecureServer({
  key: readFileSync(new URL('server.key', tls)),
  cert: readFileSync(new URL('server.pem', tls)),
  allowHTTP1: true,
}, answer);
await Promise.all([plain, secure].map((server) => new Promise((resolve) => server.listen(0, '127.0.0.1', resolve))));
console.log(JSON.stringify({ http: plain.address().port, https: secure.address().port }));
