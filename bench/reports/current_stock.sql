CREATE TABLE tempdb.by_hand AS
SELECT D.cInvCode, I.cInvName, I.cInvStd, I.cInvCCode, I.cInvAddCode, U.cComUnitName AS unit,
       A.cComUnitName AS pieces_unit, W.cWhCode, W.cWhName, D.cBatch, C.cInvCName, D.cFree1,
D.cFree2, D.cFree3, D.cFree4, D.cFree5, D.cFree6, D.cFree7, D.cFree8, D.cFree9, D.cFree10,
       I.cInvDefine1, I.cInvDefine2, I.cInvDefine3, I.cInvDefine4, I.cInvDefine5, I.cInvDefine6,
I.cInvDefine7, I.cInvDefine8, I.cInvDefine9, I.cInvDefine10, I.cInvDefine11, I.cInvDefine12,
I.cInvDefine13, I.cInvDefine14, I.cInvDefine15, I.cInvDefine16, I.cBarCode, D.dMdate, D.dVDate,
D.iMassDate, D.iQuantity,
       CASE I.iGroupType WHEN 0 THEN 0.0 WHEN 2 THEN ifnull(D.iNum, 0.0) WHEN 1 THEN D.iQuantity
/ P.iChangRate END AS iNum,
       L.cPosName, L.cPosCode, D.bStopFlag,
       D.fInQuantity, CASE I.iGroupType WHEN 0 THEN 0.0 WHEN 2 THEN ifnull(D.fInNum, 0.0) WHEN 1
THEN D.fInQuantity / P.iChangRate END AS fInNum,
       D.fOutQuantity, CASE I.iGroupType WHEN 0 THEN 0.0 WHEN 2 THEN ifnull(D.fOutNum, 0.0) WHEN
1 THEN D.fOutQuantity / P.iChangRate END AS fOutNum,
       D.fTransInQuantity, CASE I.iGroupType WHEN 0 THEN 0.0 WHEN 2 THEN ifnull(D.fTransInNum,
0.0) WHEN 1 THEN D.fTransInQuantity / P.iChangRate END AS fTransInNum,
       D.fTransOutQuantity, CASE I.iGroupType WHEN 0 THEN 0.0 WHEN 2 THEN ifnull(D.fTransOutNum,
0.0) WHEN 1 THEN D.fTransOutQuantity / P.iChangRate END AS fTransOutNum,
       D.fPlanQuantity, CASE I.iGroupType WHEN 0 THEN 0.0 WHEN 2 THEN ifnull(D.fPlanNum, 0.0)
WHEN 1 THEN D.fPlanQuantity / P.iChangRate END AS fPlanNum,
       D.fDisableQuantity, CASE I.iGroupType WHEN 0 THEN 0.0 WHEN 2 THEN ifnull(D.fDisableNum,
0.0) WHEN 1 THEN D.fDisableQuantity / P.iChangRate END AS fDisableNum,
       D.fAvaQuantity, CASE I.iGroupType WHEN 0 THEN 0.0 WHEN 2 THEN ifnull(D.fAvaNum, 0.0) WHEN
1 THEN D.fAvaQuantity / P.iChangRate END AS fAvaNum
FROM CurrentStock AS D
LEFT JOIN Inventory AS I ON I.cInvCode = D.cInvCode
LEFT JOIN ComputationUnit AS P ON P.cGroupCode = I.cGroupCode
LEFT JOIN Position AS L ON L.cPosCode = I.cPosition
LEFT JOIN ComputationUnit AS A ON A.cComUnitCode = I.cAssComUnitCode
LEFT JOIN InventoryClass AS C ON C.cInvCCode = I.cInvCCode
LEFT JOIN Warehouse AS W ON W.cWhCode = D.cWhCode
LEFT JOIN ComputationUnit AS U ON U.cComUnitCode = I.cComUnitCode;
