-- MySQL dump 10.13  Distrib 5.5.62, for Win64 (AMD64)
--
-- Host: localhost    Database: zelnor
-- ------------------------------------------------------
-- Server version	5.5.62

/*!40101 SET @OLD_CHARACTER_SET_CLIENT=@@CHARACTER_SET_CLIENT */;
/*!40101 SET @OLD_CHARACTER_SET_RESULTS=@@CHARACTER_SET_RESULTS */;
/*!40101 SET @OLD_COLLATION_CONNECTION=@@COLLATION_CONNECTION */;
/*!40101 SET NAMES utf8 */;
/*!40103 SET @OLD_TIME_ZONE=@@TIME_ZONE */;
/*!40103 SET TIME_ZONE='+00:00' */;
/*!40014 SET @OLD_UNIQUE_CHECKS=@@UNIQUE_CHECKS, UNIQUE_CHECKS=0 */;
/*!40014 SET @OLD_FOREIGN_KEY_CHECKS=@@FOREIGN_KEY_CHECKS, FOREIGN_KEY_CHECKS=0 */;
/*!40101 SET @OLD_SQL_MODE=@@SQL_MODE, SQL_MODE='NO_AUTO_VALUE_ON_ZERO' */;
/*!40111 SET @OLD_SQL_NOTES=@@SQL_NOTES, SQL_NOTES=0 */;

--
-- Current Database: `zelnor`
--

USE `zelnor`;

--
-- Table structure for table `lease`
--

DROP TABLE IF EXISTS `lease`;
/*!40101 SET @saved_cs_client     = @@character_set_client */;
/*!40101 SET character_set_client = utf8 */;
CREATE TABLE `lease` (
  `地区` char(6) NOT NULL,
  `年度` int(11) NOT NULL,
  `编号` int(11) NOT NULL,
  `登记日期` date NOT NULL,
  `有效日起` date DEFAULT NULL,
  `有效日止` date DEFAULT NULL,
  `收费金额` int(11) NOT NULL DEFAULT '0',
  KEY `登记日期` (`登记日期`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8;
/*!40101 SET character_set_client = @saved_cs_client */;

--
-- Dumping data for table `lease`
--

LOCK TABLES `lease` WRITE;
/*!40000 ALTER TABLE `lease` DISABLE KEYS */;
INSERT INTO `lease` VALUES ('370102',2012,1,'2012-03-01','2012-03-01','2013-02-28',120),('370102',2012,2,'2012-07-16','2012-08-01','2014-07-31',150),('370102',2013,1,'2013-01-05','2013-01-05','2013-12-31',120),('370103',2013,1,'2013-11-20','2013-12-01','2016-11-30',300);
/*!40000 ALTER TABLE `lease` ENABLE KEYS */;
UNLOCK TABLES;

--
-- Table structure for table `leasehouse`
--

DROP TABLE IF EXISTS `leasehouse`;
/*!40101 SET @saved_cs_client     = @@character_set_client */;
/*!40101 SET character_set_client = utf8 */;
CREATE TABLE `leasehouse` (
  `登记编号` char(15) NOT NULL,
  `房屋坐落` varchar(100) NOT NULL,
  `房产证号` varchar(40) DEFAULT NULL,
  `房屋用途` enum('住宅','商业','办公','其他') DEFAULT '住宅',
  `建筑面积` int(11) DEFAULT '60',
  `月租金` int(11) DEFAULT '500',
  `备注` text,
  PRIMARY KEY (`登记编号`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8;
/*!40101 SET character_set_client = @saved_cs_client */;

--
-- Dumping data for table `leasehouse`
--

LOCK TABLES `leasehouse` WRITE;
/*!40000 ALTER TABLE `leasehouse` DISABLE KEYS */;
INSERT INTO `leasehouse` VALUES ('370102201200001','济南市历下区人民路1号','济房权证字第0012345号','住宅',65,800,NULL),('370102201200002','济南市历下区经十路2号3单元','济房权证字第0023456号','商业',120,3500,'临街，二楼\r\n带仓库'),('370102201300001','济南市历下区泉城路18号',NULL,'住宅',48,600,NULL),('370103201300001','济南市市中区英雄山路7号','济房权证字第0034567号','办公',210,6000,'整层');
/*!40000 ALTER TABLE `leasehouse` ENABLE KEYS */;
UNLOCK TABLES;

--
-- Table structure for table `leasein`
--

DROP TABLE IF EXISTS `leasein`;
/*!40101 SET @saved_cs_client     = @@character_set_client */;
/*!40101 SET character_set_client = utf8 */;
CREATE TABLE `leasein` (
  `登记编号` char(15) NOT NULL,
  `承方名称` varchar(60) NOT NULL,
  `承方类别` enum('个人','单位') DEFAULT '个人',
  `承方证件号码` varchar(30) DEFAULT NULL,
  `承方电话` varchar(30) DEFAULT NULL,
  `居住人数` int(11) DEFAULT '1',
  PRIMARY KEY (`登记编号`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8;
/*!40101 SET character_set_client = @saved_cs_client */;

--
-- Dumping data for table `leasein`
--

LOCK TABLES `leasein` WRITE;
/*!40000 ALTER TABLE `leasein` DISABLE KEYS */;
INSERT INTO `leasein` VALUES ('370102201200001','李娜','个人','370105198803150021','13900000002',2),('370102201200002','王强','个人','370102197501010011','',1),('370102201300001','赵敏','个人',NULL,'13700000003',3),('370103201300001','泉城物业管理有限公司','单位',NULL,'0531-82345678',12);
/*!40000 ALTER TABLE `leasein` ENABLE KEYS */;
UNLOCK TABLES;

--
-- Table structure for table `leaseout`
--

DROP TABLE IF EXISTS `leaseout`;
/*!40101 SET @saved_cs_client     = @@character_set_client */;
/*!40101 SET character_set_client = utf8 */;
CREATE TABLE `leaseout` (
  `登记编号` char(15) NOT NULL,
  `出方名称` varchar(60) NOT NULL,
  `出方类别` enum('个人','单位') DEFAULT '个人',
  `出方证件号码` varchar(30) DEFAULT NULL,
  `出方电话` varchar(30) DEFAULT NULL,
  `出方地址` varchar(100) DEFAULT NULL,
  PRIMARY KEY (`登记编号`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8;
/*!40101 SET character_set_client = @saved_cs_client */;

--
-- Dumping data for table `leaseout`
--

LOCK TABLES `leaseout` WRITE;
/*!40000 ALTER TABLE `leaseout` DISABLE KEYS */;
INSERT INTO `leaseout` VALUES ('370102201200001','张伟','个人','370102196505120013','13800000001','济南市历下区人民路1号'),('370102201200002','O\'Neil 商贸','单位',NULL,'0531-1','济南市历下区经十路2号'),('370102201300001','刘芳','个人','370103197012240024','13600000004','C:\\new\\table\\01'),('370103201300001','鲁信置业有限公司','单位',NULL,'0531-86666666','济南市市中区英雄山路7号');
/*!40000 ALTER TABLE `leaseout` ENABLE KEYS */;
UNLOCK TABLES;

--
-- Table structure for table `log`
--

DROP TABLE IF EXISTS `log`;
/*!40101 SET @saved_cs_client     = @@character_set_client */;
/*!40101 SET character_set_client = utf8 */;
CREATE TABLE `log` (
  `日期` datetime NOT NULL,
  `用户` varchar(60) DEFAULT NULL,
  `描述` varchar(255) DEFAULT NULL
) ENGINE=InnoDB DEFAULT CHARSET=utf8;
/*!40101 SET character_set_client = @saved_cs_client */;

--
-- Dumping data for table `log`
--

LOCK TABLES `log` WRITE;
/*!40000 ALTER TABLE `log` DISABLE KEYS */;
INSERT INTO `log` VALUES ('2013-11-20 09:12:44','root','登录系统'),('2013-11-20 09:15:02','root','登记备案370103201300001'),('2013-11-20 17:30:11','root','退出系统');
/*!40000 ALTER TABLE `log` ENABLE KEYS */;
UNLOCK TABLES;
/*!40103 SET TIME_ZONE=@OLD_TIME_ZONE */;

/*!40101 SET SQL_MODE=@OLD_SQL_MODE */;
/*!40014 SET FOREIGN_KEY_CHECKS=@OLD_FOREIGN_KEY_CHECKS */;
/*!40014 SET UNIQUE_CHECKS=@OLD_UNIQUE_CHECKS */;
/*!40101 SET CHARACTER_SET_CLIENT=@OLD_CHARACTER_SET_CLIENT */;
/*!40101 SET CHARACTER_SET_RESULTS=@OLD_CHARACTER_SET_RESULTS */;
/*!40101 SET COLLATION_CONNECTION=@OLD_COLLATION_CONNECTION */;
/*!40111 SET SQL_NOTES=@OLD_SQL_NOTES */;

-- Dump completed on 2013-11-20 17:45:03
