CREATE TABLE tempdb.by_hand AS
SELECT W.cWhName, D.cInvCode, I.cInvName, I.cInvAddCode, I.cInvStd, I.cAddress,
       U.cComUnitName AS unit, P.cComUnitName AS pieces_unit, D.cFree1, D.cFree2, D.cFree3,
D.cFree4, D.cFree5, D.cFree6, D.cFree7, D.cFree8, D.cFree9, D.cFree10, D.iQuantity AS quantity,
       CASE I.iGroupType WHEN 0 THEN 0.0 WHEN 2 THEN D.iNum WHEN 1 THEN D.iQuantity /
P.iChangRate END AS pieces,
       D.cBatch, D.dMdate, D.iMassDate, D.dVDate
FROM CurrentStock AS D
JOIN Inventory AS I ON I.cInvCode = D.cInvCode
JOIN Warehouse AS W ON W.cWhCode = D.cWhCode
LEFT JOIN ComputationUnit AS U ON U.cComUnitCode = I.cComUnitCode
LEFT JOIN ComputationUnit AS P ON P.cGroupCode = I.cGroupCode
WHERE I.bInvQuality = 1 AND W.cWhCode BETWEEN '00' AND '99' AND D.dVDate < 3258057600000;
