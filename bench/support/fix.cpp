#include "bench/support/fix.h"

#include <numeric>

namespace cpi::bench {

namespace {

constexpr char kEnd = '\x01';

std::string field(int tag, const std::string& value) {
  return std::to_string(tag) + '=' + value + kEnd;
}

std::string order(int number) {
  const std::string digits = std::to_string(number);
  std::string text = field(11, "ORDER-" + digits) + field(67, digits) + field(453, "2");
  for (int party = 1; party <= 2; ++party) {
    text += field(448, "PARTY-" + std::to_string(party)) + field(447, "D") + field(452, "3");
  }
  return text + field(1, "ACCOUNT") + field(55, "SYMB") + field(54, "1") +
         field(60, "20260102-10:20:30") + field(38, "1000") + field(40, "2") + field(44, "10.25") +
         field(15, "EUR");
}

}  // namespace

const std::string& fixDictionary() {
  static const std::string dictionary = R"(<fix type="FIX" major="4" minor="4">
<header>
 <field name="BeginString" required="Y"/><field name="BodyLength" required="Y"/>
 <field name="MsgType" required="Y"/><field name="MsgSeqNum" required="Y"/>
 <field name="SenderCompID" required="Y"/><field name="TargetCompID" required="Y"/>
 <field name="SendingTime" required="Y"/>
</header>
<messages>
 <message name="Orders" msgtype="E" msgcat="app">
  <field name="ListID" required="Y"/><field name="BidType" required="Y"/>
  <field name="TotNoOrders" required="Y"/>
  <group name="NoOrders" required="Y">
   <field name="ClOrdID" required="Y"/><field name="ListSeqNo" required="Y"/>
   <group name="NoPartyIDs" required="N">
    <field name="PartyID" required="N"/><field name="PartyIDSource" required="N"/>
    <field name="PartyRole" required="N"/>
   </group>
   <field name="Account" required="N"/><field name="Symbol" required="N"/>
   <field name="Side" required="Y"/><field name="TransactTime" required="N"/>
   <field name="OrderQty" required="N"/><field name="OrdType" required="N"/>
   <field name="Price" required="N"/><field name="Currency" required="N"/>
  </group>
  <field name="Text" required="N"/>
 </message>
</messages>
<trailer><field name="CheckSum" required="Y"/></trailer>
<components/>
<fields>
 <field number="1" name="Account" type="STRING"/>
 <field number="8" name="BeginString" type="STRING"/>
 <field number="9" name="BodyLength" type="LENGTH"/>
 <field number="10" name="CheckSum" type="STRING"/>
 <field number="11" name="ClOrdID" type="STRING"/>
 <field number="15" name="Currency" type="CURRENCY"/>
 <field number="34" name="MsgSeqNum" type="SEQNUM"/>
 <field number="35" name="MsgType" type="STRING"/>
 <field number="38" name="OrderQty" type="QTY"/>
 <field number="40" name="OrdType" type="CHAR"/>
 <field number="44" name="Price" type="PRICE"/>
 <field number="49" name="SenderCompID" type="STRING"/>
 <field number="52" name="SendingTime" type="UTCTIMESTAMP"/>
 <field number="54" name="Side" type="CHAR"/>
 <field number="55" name="Symbol" type="STRING"/>
 <field number="56" name="TargetCompID" type="STRING"/>
 <field number="58" name="Text" type="STRING"/>
 <field number="60" name="TransactTime" type="UTCTIMESTAMP"/>
 <field number="66" name="ListID" type="STRING"/>
 <field number="67" name="ListSeqNo" type="INT"/>
 <field number="68" name="TotNoOrders" type="INT"/>
 <field number="73" name="NoOrders" type="NUMINGROUP"/>
 <field number="394" name="BidType" type="INT"/>
 <field number="447" name="PartyIDSource" type="CHAR"/>
 <field number="448" name="PartyID" type="STRING"/>
 <field number="452" name="PartyRole" type="INT"/>
 <field number="453" name="NoPartyIDs" type="NUMINGROUP"/>
</fields>
</fix>
)";
  return dictionary;
}

std::string fixMessage() {
  const std::string body = field(35, "E") + field(34, "215") + field(49, "SENDER") +
                           field(56, "TARGET") + field(52, "20260102-10:20:30.123") +
                           field(66, "LIST-1") + field(394, "1") + field(68, "3") + field(73, "3") +
                           order(1) + order(2) + order(3) + field(58, "three orders in one list");
  const std::string text = field(8, "FIX.4.4") + field(9, std::to_string(body.size())) + body;
  const int sum = std::accumulate(text.begin(), text.end(), 0) % 256;
  const std::string digits = std::to_string(1000 + sum).substr(1);
  return text + field(10, digits);
}

}  // namespace cpi::bench
