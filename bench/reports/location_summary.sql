-- The movements are added up by what tells them apart before anything describes them. Opening
-- pieces that are counted take every row but opening receipts as -1, as the report does.
CREATE TABLE tempdb.by_hand AS
SELECT D.cWhCode, W.cWhName, D.cPosCode, L.cPosName, D.cInvCode, D.cBatch, I.cInvName,
I.cInvCCode, I.cInvAddCode,
       I.cInvStd, U.cComUnitName AS unit, P.cComUnitName AS pieces_unit, D.cFree1, D.cFree2,
D.cFree3, D.cFree4, D.cFree5, D.cFree6, D.cFree7, D.cFree8, D.cFree9, D.cFree10, I.cInvDefine1,
I.cInvDefine2, I.cInvDefine3, I.cInvDefine4, I.cInvDefine5, I.cInvDefine6, I.cInvDefine7,
I.cInvDefine8, I.cInvDefine9, I.cInvDefine10, I.cInvDefine11, I.cInvDefine12, I.cInvDefine13,
I.cInvDefine14, I.cInvDefine15, I.cInvDefine16,
       CASE I.iGroupType WHEN 0 THEN 0.0 WHEN 2 THEN opening_n WHEN 1 THEN (in_before -
out_before) / P.iChangRate END AS opening_pieces,
       in_before - out_before AS opening,
       CASE I.iGroupType WHEN 0 THEN 0.0 WHEN 2 THEN in_n WHEN 1 THEN in_q / P.iChangRate END AS
in_pieces,
       in_q,
       CASE I.iGroupType WHEN 0 THEN 0.0 WHEN 2 THEN out_n WHEN 1 THEN out_q / P.iChangRate END
AS out_pieces,
       out_q,
       CASE I.iGroupType WHEN 0 THEN 0.0 WHEN 2 THEN opening_n + in_n - out_n
            WHEN 1 THEN (in_before - out_before + in_q - out_q) / P.iChangRate END AS
closing_pieces,
       in_before - out_before + in_q - out_q AS closing
FROM (SELECT cPosCode, cInvCode, cWhCode, cBatch, cFree1, cFree2, cFree3, cFree4, cFree5, cFree6,
cFree7, cFree8, cFree9, cFree10,
             sum(CASE WHEN dDate < 3210883200000 AND bRdFlag <> 0 THEN iNum ELSE -iNum END) AS
opening_n,
             sum(CASE WHEN dDate < 3210883200000 AND bRdFlag <> 0 THEN iQuantity ELSE 0.0 END) AS
in_before,
             sum(CASE WHEN dDate < 3210883200000 AND bRdFlag = 0 THEN iQuantity ELSE 0.0 END) AS
out_before,
             sum(CASE WHEN dDate >= 3210883200000 AND bRdFlag <> 0 THEN iNum ELSE 0.0 END) AS
in_n,
             sum(CASE WHEN dDate >= 3210883200000 AND bRdFlag <> 0 THEN iQuantity ELSE 0.0 END)
AS in_q,
             sum(CASE WHEN dDate >= 3210883200000 AND bRdFlag = 0 THEN iNum ELSE 0.0 END) AS
out_n,
             sum(CASE WHEN dDate >= 3210883200000 AND bRdFlag = 0 THEN iQuantity ELSE 0.0 END) AS
out_q
      FROM InvPosition
      GROUP BY cPosCode, cInvCode, cWhCode, cBatch, cFree1, cFree2, cFree3, cFree4, cFree5,
cFree6, cFree7, cFree8, cFree9, cFree10) AS D
JOIN Position AS L ON L.cPosCode = D.cPosCode AND L.bPosEnd = 1
JOIN Inventory AS I ON I.cInvCode = D.cInvCode
JOIN Warehouse AS W ON W.cWhCode = D.cWhCode
LEFT JOIN ComputationUnit AS U ON U.cComUnitCode = I.cComUnitCode
LEFT JOIN ComputationUnit AS P ON P.cGroupCode = I.cGroupCode;
