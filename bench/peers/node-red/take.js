// A snapshot is a line of JSON. It becomes a packed file on the card, then the newest file is sent.
const fs = global.get('fs'), net = global.get('net'), zlib = global.get('zlib');
const socket = '/run/values.sock';
let count = 0;
fs.rmSync(socket, {force: true});
const server = net.createServer((stream) => {
  let rest = '';
  stream.setEncoding('utf8');
  stream.on('data', (text) => {
    const lines = (rest + text).split('\n');
    rest = lines.pop();
    for (const line of lines) {
      const name = String(Date.now()).padStart(15, '0') + String(count += 1).padStart(9, '0');
      fs.writeFileSync(`/media/mmcblk0p1/${name}.part`, zlib.gzipSync(line));
      fs.renameSync(`/media/mmcblk0p1/${name}.part`, `/media/mmcblk0p1/${name}.gz`);
    }
    if (lines.length > 0) node.send({});
  });
});
server.listen(socket);
setTimeout(() => node.send({}), 1000); // files of an earlier life, once the flow runs
