// Finds processes that a test has started, also those inside the sandbox, and reads what they hold.
import {readdir, readFile} from 'node:fs/promises';

const kKilo = 1024;

// The fields of /proc/PID/status, or null when the process is gone.
async function statusOf(pid) {
  try {
    const text = await readFile(`/proc/${pid}/status`, 'utf8');
    return Object.fromEntries(text.split('\n').map((line) => line.split(/:\s+/, 2)));
  } catch {
    return null;
  }
}

// The processes of this name below `ancestor`.
export async function descendants(ancestor, name) {
  const pids = (await readdir('/proc')).filter((each) => /^\d+$/.test(each));
  const all = new Map();
  for (const pid of pids) {
    const status = await statusOf(pid);
    if (status) all.set(Number(pid), {name: status.Name, parent: Number(status.PPid)});
  }
  const below = (pid) => {
    for (let at = all.get(pid)?.parent; at; at = all.get(at)?.parent) if (at === ancestor) return true;
    return false;
  };
  return [...all.keys()].filter((pid) => name.startsWith(all.get(pid).name) && below(pid));
}

// {rss, most}: the bytes in memory that a process holds, and the most that it has held.
export async function memoryOf(pid) {
  const status = await statusOf(pid);
  if (!status) throw new Error(`process ${pid} is gone`);
  return {rss: parseInt(status.VmRSS, 10) * kKilo, most: parseInt(status.VmHWM, 10) * kKilo};
}
