/*
 * Incoming messages as an encoder makes them that nobody here wrote. A line of input each:
 *   7bit|8bit|ucs2 NUMBER REFERENCE PARTS PART HEX
 * PARTS 0 is a message of one part. HEX is the text in big-endian UTF-16, or for 8bit the octets; "-" is none. The
 * message, as a modem stores it, comes out in hex.
 */
#include <gammu.h>
#include <stdio.h>
#include <string.h>

static int octets_from_hex(const char* hex, unsigned char* out) {
  int count = 0;
  unsigned value;
  for (; sscanf(hex, "%2x", &value) == 1; hex += 2) out[count++] = (unsigned char)value;
  return count;
}

static void print_octets(const unsigned char* from, int count) {
  for (int i = 0; i < count; i++) printf("%02X", from[i]);
}

/* The frame's pieces lie apart; on the wire they follow one another. */
static void print_message(const unsigned char* frame, const GSM_SMSMessageLayout* at, int septets) {
  const int length = frame[at->TPUDL];
  print_octets(frame + at->SMSCNumber, frame[at->SMSCNumber] + 1);
  print_octets(frame + at->firstbyte, 1);
  print_octets(frame + at->Number, (frame[at->Number] + 1) / 2 + 2);
  print_octets(frame + at->TPPID, 1);
  print_octets(frame + at->TPDCS, 1);
  print_octets(frame + at->DateTime, 7);
  print_octets(frame + at->TPUDL, 1);
  print_octets(frame + at->Text, septets ? (length * 7 + 7) / 8 : length);
  printf("\n");
  fflush(stdout);
}

int main(void) {
  char coding[8], number[32], hex[1024];
  int reference, parts, part;
  while (scanf("%7s %31s %d %d %d %1023s", coding, number, &reference, &parts, &part, hex) == 6) {
    static GSM_SMSMessage message;
    unsigned char frame[1000] = {0}, text[512] = {0};
    int length = 0;
    const int count = hex[0] == '-' ? 0 : octets_from_hex(hex, text);

    GSM_SetDefaultReceivedSMSData(&message);
    message.PDU = SMS_Deliver;
    message.Class = -1;
    EncodeUnicode(message.Number, number, strlen(number));
    EncodeUnicode(message.SMSC.Number, "+447700900000", 13);
    message.DateTime.Year = 2024, message.DateTime.Month = 5, message.DateTime.Day = 17;
    message.DateTime.Hour = 8, message.DateTime.Minute = 30, message.DateTime.Second = 15;
    message.Coding = coding[0] == '7'   ? SMS_Coding_Default_No_Compression
                     : coding[0] == '8' ? SMS_Coding_8bit
                                        : SMS_Coding_Unicode_No_Compression;
    memcpy(message.Text, text, sizeof text);
    message.Length = message.Coding == SMS_Coding_8bit ? count : count / 2;
    if (parts != 0) {
      message.UDH.Type = UDH_ConcatenatedMessages;
      message.UDH.ID8bit = reference;
      message.UDH.AllParts = parts;
      message.UDH.PartNumber = part;
      GSM_EncodeUDHHeader(NULL, &message.UDH);
    }
    if (GSM_EncodeSMSFrame(NULL, &message, frame, PHONE_SMSDeliver, &length, TRUE) != ERR_NONE) return 1;
    print_message(frame, &PHONE_SMSDeliver, message.Coding == SMS_Coding_Default_No_Compression);
  }
  return 0;
}
