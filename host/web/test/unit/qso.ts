import assert from "node:assert/strict";
import { test } from "node:test";
import { answerTo, parseMessage, reportOf, sequence, slotAt, slotIsEven } from "../../src/qso";

test("messages are understood", () => {
  const cq = parseMessage("CQ DX G4ABC IO91");
  assert.deepEqual([cq.cq, cq.area, cq.from, cq.grid], [true, "DX", "G4ABC", "IO91"]);
  assert.equal(parseMessage("CQ K1ABC FN42").from, "K1ABC");
  assert.equal(parseMessage("CQ TEST ZL1ABC RF72").from, "ZL1ABC");
  assert.equal(parseMessage("CQ 290 K1ABC FN42").area, "290");
  const report = parseMessage("W9XYZ DL1ABC R-12");
  assert.deepEqual([report.to, report.from, report.report, report.grid], ["W9XYZ", "DL1ABC", "R-12", null]);
  const end = parseMessage("EA4XYZ SP3ABC RR73");
  assert.deepEqual([end.report, end.grid], ["RR73", null]);
  assert.equal(parseMessage("<PJ4/K1ABC> W9XYZ -07").to, "PJ4/K1ABC");
  assert.equal(parseMessage("<...> W9XYZ RRR").from, "W9XYZ");
  const free = parseMessage("TNX BOB 73 GL");
  assert.deepEqual([free.from, free.to, free.cq], [null, null, false]);
});

test("reports have a sign and two digits", () => {
  assert.deepEqual([-7, 0, 12, -99, 80].map(reportOf), ["-07", "+00", "+12", "-50", "+49"]);
});

test("a contact goes through its messages in order", () => {
  const me = { call: "N0CALL", grid: "JO62qm" };
  const all = sequence(me, { call: "K1ABC", grid: "FN42" }, "-10");
  assert.deepEqual(all, ["K1ABC N0CALL JO62", "K1ABC N0CALL -10", "K1ABC N0CALL R-10", "K1ABC N0CALL RR73", "K1ABC N0CALL 73", "CQ N0CALL JO62"]);
  const answer = (text: string): string | undefined => all[answerTo(parseMessage(text), me)];
  assert.equal(answer("CQ K1ABC FN42"), "K1ABC N0CALL JO62");
  assert.equal(answer("N0CALL K1ABC FN42"), "K1ABC N0CALL -10");
  assert.equal(answer("N0CALL K1ABC -05"), "K1ABC N0CALL R-10");
  assert.equal(answer("N0CALL K1ABC R-05"), "K1ABC N0CALL RR73");
  assert.equal(answer("N0CALL K1ABC RR73"), "K1ABC N0CALL 73");
  assert.equal(answer("N0CALL K1ABC 73"), undefined);
  assert.deepEqual(sequence({ call: "", grid: "" }, { call: "", grid: "" }, ""), []);
});

test("periods are counted from the minute", () => {
  const at = Date.UTC(2026, 2, 1, 12, 0, 17, 500);
  assert.deepEqual(slotAt(at, "ft8"), { seconds: 2.5, even: false });
  assert.deepEqual(slotAt(at, "ft4"), { seconds: 2.5, even: true });
  assert.deepEqual(["120000", "120015", "120030", "120045"].map((time) => slotIsEven(time, "ft8")), [true, false, true, false]);
  assert.deepEqual(["120000", "120007", "120015", "120022"].map((time) => slotIsEven(time, "ft4")), [true, false, true, false]);
});
