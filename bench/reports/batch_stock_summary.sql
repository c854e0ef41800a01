-- Only the lines of items that are kept by batch are read, by the index; they are added up before
-- anything describes them. Without a date nothing is before the period.
CREATE TABLE tempdb.by_hand AS
SELECT W.cWhName, W.cWhCode, D.cInvCode, I.cInvAddCode, I.cInvStd, I.cInvName, U.cComUnitName AS
unit,
       P.cComUnitName AS pieces_unit, D.cBatch, I.cAddress, D.dMadeDate, D.iMassDate, D.dVDate,
D.cFree1, D.cFree2, D.cFree3, D.cFree4, D.cFree5, D.cFree6, D.cFree7, D.cFree8, D.cFree9,
D.cFree10, I.cInvDefine1, I.cInvDefine2, I.cInvDefine3, I.cInvDefine4, I.cInvDefine5,
I.cInvDefine6, I.cInvDefine7, I.cInvDefine8, I.cInvDefine9, I.cInvDefine10, I.cInvDefine11,
I.cInvDefine12, I.cInvDefine13, I.cInvDefine14, I.cInvDefine15, I.cInvDefine16,
       opening_q AS opening,
       CASE I.iGroupType WHEN 0 THEN 0.0 WHEN 2 THEN opening_n WHEN 1 THEN opening_q /
P.iChangRate END AS opening_pieces,
       in_q,
       CASE I.iGroupType WHEN 0 THEN 0.0 WHEN 2 THEN in_n WHEN 1 THEN in_q / P.iChangRate END AS
in_pieces,
       out_q,
       CASE I.iGroupType WHEN 0 THEN 0.0 WHEN 2 THEN out_n WHEN 1 THEN out_q / P.iChangRate END
AS out_pieces,
       opening_q + in_q - out_q AS closing,
       CASE I.iGroupType WHEN 0 THEN 0.0 WHEN 2 THEN opening_n + in_n - out_n
            WHEN 1 THEN (opening_q + in_q - out_q) / P.iChangRate END AS closing_pieces
FROM (SELECT S.cInvCode, R.cWhCode, S.cBatch, S.dMadeDate, S.iMassDate, S.dVDate, S.cFree1,
S.cFree2, S.cFree3, S.cFree4, S.cFree5, S.cFree6, S.cFree7, S.cFree8, S.cFree9, S.cFree10,
             sum(CASE WHEN R.dDate < 0 AND R.bRdFlag <> 0 THEN S.iQuantity ELSE -S.iQuantity END)
AS opening_q,
             sum(CASE WHEN R.dDate < 0 AND R.bRdFlag <> 0 THEN S.iNum ELSE -S.iNum END) AS
opening_n,
             sum(CASE WHEN R.dDate >= 0 AND R.bRdFlag <> 0 THEN S.iQuantity ELSE 0.0 END) AS in_q,
             sum(CASE WHEN R.dDate >= 0 AND R.bRdFlag <> 0 THEN S.iNum ELSE 0.0 END) AS in_n,
             sum(CASE WHEN R.dDate >= 0 AND R.bRdFlag = 0 THEN S.iQuantity ELSE 0.0 END) AS out_q,
             sum(CASE WHEN R.dDate >= 0 AND R.bRdFlag = 0 THEN S.iNum ELSE 0.0 END) AS out_n
      FROM RdRecords AS S
      CROSS JOIN RdRecord AS R ON R.ID = S.ID
      WHERE S.cInvCode IN (SELECT cInvCode FROM Inventory WHERE bInvBatch = 1)
        AND R.cVouchType <> '33' AND R.cVouchType <> '34'
      GROUP BY S.cInvCode, R.cWhCode, S.cBatch, S.dMadeDate, S.iMassDate, S.dVDate, S.cFree1,
S.cFree2, S.cFree3, S.cFree4, S.cFree5, S.cFree6, S.cFree7, S.cFree8, S.cFree9, S.cFree10) AS D
JOIN Inventory AS I ON I.cInvCode = D.cInvCode
JOIN Warehouse AS W ON W.cWhCode = D.cWhCode
LEFT JOIN ComputationUnit AS U ON U.cComUnitCode = I.cComUnitCode
LEFT JOIN ComputationUnit AS P ON P.cGroupCode = I.cGroupCode;
