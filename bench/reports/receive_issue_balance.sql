-- With the report's work tables, which it leaves in the database.
CREATE TABLE main.by_hand_detail AS
SELECT W.cWhCode, W.cWhName, S.cInvCode, I.cInvName, I.cInvAddCode, I.cInvStd, I.cAddress,
I.cInvCCode, C.cInvCName, I.cComUnitCode, R.cRdCode, S.iNum, S.iQuantity,
       S.iNum - S.iNum AS iQCJCSL, S.iNum - S.iNum AS iQCJCJS, R.bRdFlag
FROM RdRecord AS R JOIN Warehouse AS W ON W.cWhCode = R.cWhCode JOIN RdRecords AS S ON S.ID = R.ID
JOIN Inventory AS I ON I.cInvCode = S.cInvCode JOIN InventoryClass AS C ON C.cInvCCode =
I.cInvCCode
WHERE R.cVouchType <> '33' AND R.cVouchType <> '34' AND R.dDate >= 3223929600000 AND R.dDate <=
3226521600000;

INSERT INTO main.by_hand_detail
SELECT R.cWhCode, W.cWhName, S.cInvCode, I.cInvName, I.cInvAddCode, I.cInvStd, I.cAddress,
I.cInvCCode, C.cInvCName, I.cComUnitCode, NULL, NULL, NULL,
       CASE WHEN R.bRdFlag <> 0 THEN S.iQuantity ELSE -S.iQuantity END, CASE WHEN R.bRdFlag <> 0
THEN S.iNum ELSE -S.iNum END, 1
FROM RdRecord AS R JOIN Warehouse AS W ON W.cWhCode = R.cWhCode JOIN RdRecords AS S ON S.ID = R.ID
JOIN Inventory AS I ON I.cInvCode = S.cInvCode JOIN InventoryClass AS C ON C.cInvCCode =
I.cInvCCode
WHERE R.cVouchType <> '33' AND R.dDate < 3223929600000;

CREATE TABLE main.by_hand_result AS
WITH
G AS (SELECT cWhCode AS w, cInvCode AS i, ifnull(cRdCode, '') || abs(bRdFlag) AS k, bRdFlag AS
flag, sum(iQuantity) AS q, sum(iNum) AS n,
             sum(ifnull(iQCJCSL, 0.0)) AS opening_q, sum(ifnull(iQCJCJS, 0.0)) AS opening_n
      FROM main.by_hand_detail GROUP BY cInvCode, cWhCode, k, flag),
T AS (SELECT w, i, sum(opening_q) AS opening_q, sum(opening_n) AS opening_n,
             sum(CASE WHEN k = '111' THEN q ELSE 0.0 END) AS q111, sum(CASE WHEN k = '111' THEN n
ELSE 0.0 END) AS n111,
             sum(CASE WHEN k = '121' THEN q ELSE 0.0 END) AS q121, sum(CASE WHEN k = '121' THEN n
ELSE 0.0 END) AS n121,
             sum(CASE WHEN k = '131' THEN q ELSE 0.0 END) AS q131, sum(CASE WHEN k = '131' THEN n
ELSE 0.0 END) AS n131,
             sum(CASE WHEN k = '141' THEN q ELSE 0.0 END) AS q141, sum(CASE WHEN k = '141' THEN n
ELSE 0.0 END) AS n141,
             sum(CASE WHEN k = '151' THEN q ELSE 0.0 END) AS q151, sum(CASE WHEN k = '151' THEN n
ELSE 0.0 END) AS n151,
             sum(CASE WHEN k = '161' THEN q ELSE 0.0 END) AS q161, sum(CASE WHEN k = '161' THEN n
ELSE 0.0 END) AS n161,
             sum(CASE WHEN k = '31' THEN q ELSE 0.0 END) AS q31, sum(CASE WHEN k = '31' THEN n
ELSE 0.0 END) AS n31,
             sum(CASE WHEN k = '210' THEN q ELSE 0.0 END) AS q210, sum(CASE WHEN k = '210' THEN n
ELSE 0.0 END) AS n210,
             sum(CASE WHEN k = '220' THEN q ELSE 0.0 END) AS q220, sum(CASE WHEN k = '220' THEN n
ELSE 0.0 END) AS n220,
             sum(CASE WHEN k = '230' THEN q ELSE 0.0 END) AS q230, sum(CASE WHEN k = '230' THEN n
ELSE 0.0 END) AS n230,
             sum(CASE WHEN k = '240' THEN q ELSE 0.0 END) AS q240, sum(CASE WHEN k = '240' THEN n
ELSE 0.0 END) AS n240,
             sum(CASE WHEN k = '250' THEN q ELSE 0.0 END) AS q250, sum(CASE WHEN k = '250' THEN n
ELSE 0.0 END) AS n250,
             sum(CASE WHEN k = '260' THEN q ELSE 0.0 END) AS q260, sum(CASE WHEN k = '260' THEN n
ELSE 0.0 END) AS n260,
             sum(CASE WHEN k = '30' THEN q ELSE 0.0 END) AS q30, sum(CASE WHEN k = '30' THEN n
ELSE 0.0 END) AS n30,
             sum(CASE WHEN flag <> 0 THEN n ELSE 0.0 END) AS in_n, sum(CASE WHEN flag <> 0 THEN
ifnull(q, 0.0) ELSE 0.0 END) AS in_q,
             sum(CASE WHEN flag = 0 THEN n ELSE 0.0 END) AS out_n, sum(CASE WHEN flag = 0 THEN
ifnull(q, 0.0) ELSE 0.0 END) AS out_q
      FROM G GROUP BY w, i)
SELECT T.w, W.cWhName, T.i, I.cInvName, I.cInvAddCode, I.cInvStd, I.cAddress, U.cComUnitName AS
unit, P.cComUnitName AS pieces_unit,
       I.cInvCCode, C.cInvCName, opening_q, opening_n, T.q111, T.n111, T.q121, T.n121, T.q131,
T.n131, T.q141, T.n141, T.q151, T.n151, T.q161, T.n161, T.q31, T.n31, T.q210, T.n210, T.q220,
T.n220, T.q230, T.n230, T.q240, T.n240, T.q250, T.n250, T.q260, T.n260, T.q30, T.n30,
       in_q, in_n, out_q, out_n, opening_q + in_q - out_q AS closing,
       opening_n + ifnull(in_n, 0.0) - ifnull(out_n, 0.0) AS closing_pieces
FROM T
JOIN Inventory AS I ON I.cInvCode = T.i
JOIN InventoryClass AS C ON C.cInvCCode = I.cInvCCode
JOIN Warehouse AS W ON W.cWhCode = T.w
LEFT JOIN ComputationUnit AS U ON U.cComUnitCode = I.cComUnitCode
LEFT JOIN ComputationUnit AS P ON P.cGroupCode = I.cGroupCode;

CREATE TABLE tempdb.by_hand AS SELECT * FROM main.by_hand_result ORDER BY w, i;
