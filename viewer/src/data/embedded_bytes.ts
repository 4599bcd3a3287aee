// The page's bytes stand in it as one line of base64. Each section is decoded when it is needed, so that a long take
// does not have to be decoded as a whole before its first frame shows.

/** Bytes `offset` to `offset + length` of what the base64 text encodes. */
export function base64Bytes(text: string, offset: number, length: number): Uint8Array<ArrayBuffer> {
  const bytes = new Uint8Array(length);
  const first = offset % 3; // a group of four characters is three bytes; the section may start inside one
  const groupsAtOnce = 32768;
  let skip = first;
  let at = 0;
  for (let from = ((offset - first) / 3) * 4; at < length && from < text.length; from += groupsAtOnce * 4) {
    const binary = atob(text.slice(from, from + groupsAtOnce * 4));
    const end = Math.min(binary.length, skip + length - at);
    for (let i = skip; i < end; ++i) bytes[at++] = binary.charCodeAt(i);
    skip = 0;
  }
  if (at < length) throw new Error("the page is cut short: part of its data is missing");
  return bytes;
}

/** Inflates one zlib stream, which has to give exactly `size` bytes. */
export async function inflate(bytes: Uint8Array<ArrayBuffer>, size: number): Promise<Uint8Array<ArrayBuffer>> {
  let inflated: ArrayBuffer;
  try {
    const stream = new Blob([bytes]).stream().pipeThrough(new DecompressionStream("deflate"));
    inflated = await new Response(stream).arrayBuffer();
  } catch {
    throw new Error("the page's data is damaged: a section cannot be inflated");
  }
  if (inflated.byteLength !== size) {
    throw new Error(`the page's data is damaged: a section has ${inflated.byteLength} bytes in place of ${size}`);
  }
  return new Uint8Array(inflated);
}
