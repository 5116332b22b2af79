// Helpers for the UTF-8 bytes of the event stream.

// The parts' bytes as one array, at most limit of them; one part within the
// limit is not copied.
export function joined(parts, limit = Infinity) {
  if (parts.length === 1 && parts[0].length <= limit) return parts[0];
  const total = Math.min(limit, parts.reduce((sum, part) => sum + part.length, 0));
  const bytes = new Uint8Array(total);
  let at = 0;
  for (const part of parts) {
    if (at === total) break;
    const piece = part.subarray(0, total - at);
    bytes.set(piece, at);
    at += piece.length;
  }
  return bytes;
}
