// Talks to the console's server. Every failure is an Error whose message is one sentence for people.

const kLimitMs = 20000;
const kRequestsKept = 50;

// The actions that this page sent, newest first: {path, body, curl, error, at}.
export const requests = [];
const listeners = new Set();

// Calls `listener()` after each action. Returns a function that ends it.
export function onRequest(listener) {
  listeners.add(listener);
  return () => listeners.delete(listener);
}

export function url(path, query = {}) {
  const parameters = new URLSearchParams();
  for (const [name, value] of Object.entries(query)) {
    if (value !== null && value !== undefined && value !== '') parameters.set(name, value);
  }
  const tail = parameters.toString();
  return tail === '' ? path : `${path}?${tail}`;
}

async function read(answer) {
  let body = null;
  try {
    body = await answer.json();
  } catch {
    throw new Error(`The server's answer (${answer.status}) cannot be read.`);
  }
  if (!answer.ok) throw new Error(body?.error ?? `The server answers with status ${answer.status}.`);
  return body;
}

async function send(address, options, limitMs) {
  let answer;
  try {
    answer = await fetch(address, {...options, signal: AbortSignal.timeout(limitMs)});
  } catch (error) {
    throw new Error(error.name === 'TimeoutError'
      ? 'The server did not answer in time.' : 'The server cannot be reached.');
  }
  return read(answer);
}

// Reads /api/…; `query` is an object, empty members are left out.
export function get(path, query, limitMs = kLimitMs) {
  return send(url(path, query), {cache: 'no-store'}, limitMs);
}

// The line that sends the same action from a terminal.
function curlOf(path, body) {
  const quoted = JSON.stringify(body).replaceAll("'", "'\\''");
  return `curl -X POST -H 'Content-Type: application/json' -d '${quoted}' ${location.origin}${path}`;
}

// Sends an action and remembers it as a curl line.
export async function post(path, body) {
  const request = {path, body, curl: curlOf(path, body), error: null, at: Date.now()};
  requests.unshift(request);
  requests.splice(kRequestsKept);
  try {
    return await send(path, {
      method: 'POST',
      headers: {'Content-Type': 'application/json'},
      body: JSON.stringify(body),
    }, kLimitMs);
  } catch (error) {
    request.error = error.message;
    throw error;
  } finally {
    for (const listener of listeners) listener();
  }
}
