// Sends one file at a time, the newest first; after a failure it waits for 10 seconds.
const fs = global.get('fs');
if (msg.statusCode === 200) fs.unlinkSync(msg.file);
if ('statusCode' in msg) {
  context.busy = false;
  if (msg.statusCode !== 200) {
    context.busy = true;
    setTimeout(() => { context.busy = false; node.send([null, {}]); }, 10000);
    return null;
  }
}
if (context.busy) return null;
const names = fs.readdirSync('/media/mmcblk0p1').filter((name) => name.endsWith('.gz')).sort();
if (names.length === 0) return null;
context.busy = true;
const file = `/media/mmcblk0p1/${names.pop()}`;
return {file, payload: fs.readFileSync(file), headers: {'content-encoding': 'gzip'}};
