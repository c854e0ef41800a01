CREATE TABLE tempdb.by_hand AS
SELECT W.cWhName, I.cInvCode, I.cInvAddCode, I.cInvName, I.cInvStd, I.cAddress, U.cComUnitName,
I.cInvDefine1, I.cInvDefine2, I.cInvDefine3, I.cInvDefine4, I.cInvDefine5, I.cInvDefine6,
I.cInvDefine7, I.cInvDefine8, I.cInvDefine9, I.cInvDefine10, I.cInvDefine11, I.cInvDefine12,
I.cInvDefine13, I.cInvDefine14, I.cInvDefine15, I.cInvDefine16,
       I.iSafeNum AS AQKCL, S.q AS DQKCL, ifnull(S.q, 0.0) - I.iSafeNum AS CL
FROM (SELECT cInvCode, cWhCode, sum(iQuantity) AS q FROM CurrentStock GROUP BY cInvCode, cWhCode)
AS S
JOIN Inventory AS I ON I.cInvCode = S.cInvCode
JOIN Warehouse AS W ON W.cWhCode = S.cWhCode
LEFT JOIN ComputationUnit AS U ON U.cComUnitCode = I.cComUnitCode
WHERE I.iSafeNum > 0;
