import assert from "node:assert/strict";
import { test } from "node:test";
import { base64Bytes } from "../../src/data/embedded_bytes";
import { decodeColumn, NumberReader } from "../../src/data/numbers";
import { encodeCodes, PageBytes } from "../support/encode_page";
import { randomNumbers } from "../support/random";

for (const [bytes, range] of [[1, 5], [2, 900], [3, 200000], [4, 4e7]] as const) {
  test(`random columns with gaps survive within half a step, ${bytes} bytes a code`, async () => {
    const random = randomNumbers(bytes);
    const step = 0.05;
    const columns = Array.from({ length: 7 }, () =>
      Float64Array.from({ length: 501 }, () => (random() < 0.2 ? NaN : (random() - 0.5) * range)),
    );
    const page = new PageBytes();
    page.plain(new Uint8Array(bytes)); // so that the array does not begin at the first byte
    const place = page.array(columns, step);
    assert.equal(place.bytes, bytes);
    const read = await new NumberReader(page.base64()).doubles(place);
    let present = 0;
    columns.forEach((column, c) => {
      column.forEach((value, r) => {
        const decoded = read[c * 501 + r];
        if (Number.isNaN(value)) assert.ok(Number.isNaN(decoded));
        else assert.ok(Math.abs(decoded - value) <= step / 2 + 1e-6, `${decoded} for ${value}`);
        if (!Number.isNaN(value)) ++present;
      });
    });
    assert.ok(present > 2000);
  });
}

test("more bytes than needed decode to the same numbers", async () => {
  const columns = [Float64Array.of(1, NaN, -3, 2.5), Float64Array.of(NaN, NaN, 0, 7)];
  for (const bytes of [1, 2, 3, 4]) {
    const page = new PageBytes();
    const place = page.array(columns, 0.5, bytes);
    const read = await new NumberReader(page.base64()).floats(place);
    assert.deepEqual([...read], [1, NaN, -3, 2.5, NaN, NaN, 0, 7]);
  }
});

test("the largest code decodes", () => {
  // Code 0xffffffff: zigzag 0xfffffffe is the difference 0x7fffffff.
  const values = new Float64Array(1);
  decodeColumn(Uint8Array.of(255, 255, 255, 255), { offset: 0, length: 0, rows: 1, columns: 1, step: 1, bytes: 4 }, 0, values);
  assert.equal(values[0], 0x7fffffff);
});

test("codes are those of the contract", () => {
  const { planes, bytes } = encodeCodes([Float64Array.of(0, -1, -1, NaN, 200)], 1);
  // Differences 0, -1, 0, missing, 201: codes 1, 2, 1, 0, 403.
  assert.equal(bytes, 2);
  assert.deepEqual([...planes], [1, 2, 1, 0, 403 & 255, 0, 0, 0, 0, 1]);
});

test("states stay whole numbers, gaps are 0", async () => {
  const page = new PageBytes();
  const place = page.array([Float64Array.of(1, 0, 4), Float64Array.of(2, 3, 1)], 1);
  assert.deepEqual([...(await new NumberReader(page.base64()).octets(place))], [1, 0, 4, 2, 3, 1]);
});

test("an array without rows or columns is empty", async () => {
  const page = new PageBytes();
  const reader = new NumberReader(page.base64());
  assert.equal((await reader.floats({ offset: 0, length: 0, rows: 0, columns: 3, step: 1, bytes: 1 })).length, 0);
  assert.equal((await reader.floats({ offset: 0, length: 0, rows: 9, columns: 0, step: 1, bytes: 1 })).length, 0);
});

test("sections of the base64 text are found at every offset and length", () => {
  const bytes = Uint8Array.from({ length: 100 }, (_, i) => (i * 73) & 255);
  const text = Buffer.from(bytes).toString("base64");
  for (let offset = 0; offset < 12; ++offset) {
    for (let length = 0; length + offset <= 100; ++length) {
      assert.deepEqual([...base64Bytes(text, offset, length)], [...bytes.subarray(offset, offset + length)]);
    }
  }
  const long = Buffer.alloc(300001, 7);
  assert.equal(base64Bytes(long.toString("base64"), 1, 300000).every((byte) => byte === 7), true);
});

test("a cut, damaged or short section is refused", async () => {
  const page = new PageBytes();
  const place = page.array([Float64Array.from({ length: 400 }, (_, i) => Math.sin(i) * 50)], 0.01);
  const text = page.base64();
  await assert.rejects(new NumberReader(text.slice(0, 40)).floats(place), /cut short/);
  await assert.rejects(new NumberReader(`AAAA${text.slice(4)}`).floats(place), /cannot be inflated/);
  await assert.rejects(new NumberReader(text).floats({ ...place, rows: 399 }), /in place of/);
});
