// Lines of JSON from a reply that is still coming.

export class LineReader {
  constructor() { this.rest = ''; }

  // The objects that `text` has completed.
  take(text) {
    const lines = (this.rest + text).split('\n');
    this.rest = lines.pop();
    return lines.filter(line => line.trim() !== '').map(line => JSON.parse(line));
  }

  end() {
    const last = this.rest.trim();
    this.rest = '';
    return last ? [JSON.parse(last)] : [];
  }
}

export async function readLines(response, heard) {
  const reader = response.body.getReader();
  const decoder = new TextDecoder();
  const lines = new LineReader();
  for (;;) {
    const {done, value} = await reader.read();
    lines.take(done ? decoder.decode() : decoder.decode(value, {stream: true})).forEach(heard);
    if (done)
      break;
  }
  lines.end().forEach(heard);
}
