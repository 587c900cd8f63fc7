/**
 * Short messages: events, reading, deleting, and decoders for stored messages.
 *
 * Messages live in the modem: on the SIM card or in its own memory, each under a storage index. A daemon registers one
 * callback, learns there that a message was stored or that a store is full, reads the message by its index and deletes
 * it. The decoders work on their own, without a modem.
 */
#ifndef VEK_PAL_SMS_H
#define VEK_PAL_SMS_H

#include <stdint.h>

#include "vek_pal/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Result codes of this area; every other failure is -1. */
enum {
  VEK_PAL_SMS_BAD_ARGUMENT = 7,
  /** No callback has been registered with success yet, so there is no client to ask through. */
  VEK_PAL_SMS_NOT_INITIALIZED = 10
};

/** Where messages are stored. The modem's own numbers are one lower. */
typedef enum {
  VEK_PAL_SMS_STORAGE_UIM = 1, /**< The SIM card. */
  VEK_PAL_SMS_STORAGE_NV = 2   /**< The modem's memory. */
} vek_pal_sms_storage_t;

/** The kind of network that a message came from, in requests. Any other number leaves it to the modem. */
enum {
  VEK_PAL_SMS_MODE_GW = 1, /**< GSM and everything after it. */
  VEK_PAL_SMS_MODE_CDMA = 2
};

/** What an event tells. */
enum {
  VEK_PAL_SMS_EVENT_NEW_MESSAGE = 1, /**< A message came in and was stored. */
  VEK_PAL_SMS_EVENT_MEMORY_FULL = 2  /**< A store has no room for the next message. */
};

/** One event: 16 bytes. */
typedef struct {
  int32_t event;          /**< VEK_PAL_SMS_EVENT_NEW_MESSAGE or VEK_PAL_SMS_EVENT_MEMORY_FULL. */
  int32_t storage_type;   /**< A vek_pal_sms_storage_t; 0 when a full store is neither. */
  uint32_t storage_index; /**< Of the new message; 0 with a full store. */
  int32_t message_mode;   /**< In the modem's numbers: 0 CDMA, 1 GW. 0 too when the modem did not say. */
} vek_pal_sms_event_t;

/** Encodings of a decoded message. */
enum {
  VEK_PAL_SMS_ENCODING_7BIT = 0,   /**< Came as 7-bit characters: the text is ISO-8859-1. */
  VEK_PAL_SMS_ENCODING_8BIT = 1,   /**< Octets (and 8-bit Latin from CDMA), as they came. */
  VEK_PAL_SMS_ENCODING_UCS2 = 2,   /**< 16-bit characters, high byte first, as they came. */
  VEK_PAL_SMS_ENCODING_UNKNOWN = 3 /**< None of these; the message was refused. */
};

/** The most bytes of text that a decoded message has. */
enum { VEK_PAL_SMS_TEXT_MAX = 160 };

/** A decoded message: 228 bytes. */
typedef struct {
  /** GSM: 0 incoming (DELIVER), 1 outgoing (SUBMIT). CDMA: 1 incoming (deliver), 2 outgoing (submit). */
  int32_t message_type;
  /** Sender of an incoming message, addressee of an outgoing one: digits, or a name. Zero-terminated. */
  char address[18];
  /**
   * When the service centre took the message, "%d/%d/%d,%d:%d:%d": year (four digits), month, day, hour, minute,
   * second, as local time of the sender's network. Zero-terminated; empty in outgoing messages.
   */
  char timestamp[32];
  int32_t encoding; /**< VEK_PAL_SMS_ENCODING_... */
  uint8_t
      text[161]; /**< The text; the byte after it is 0. Octets and 16-bit characters may contain zeros of their own. */
  int32_t text_length; /**< Bytes of text, 0 to 160. */
} vek_pal_sms_decoded_t;

/**
 * Registers the daemon's callback, and with it opens the way to the modem's message service.
 * @param[in] callback   Called for each event on the thread that receives indications: copy, hand on, return. It may
 * call any function of this area. NULL is accepted: the other calls work, events are dropped.
 * @param[in] user_data  Handed to the callback as it is.
 *
 * @retval 0   Registered; or registered before: the first callback of the process stays for good, this one is ignored.
 * @retval -1  No memory, no message service, or the modem did not take the order for event reports within 3 s. Calling
 *             again tries again. When only the order failed the other calls of this area work already, and the callback
 *             is taken.
 *
 * After a modem restart the order for event reports is repeated, so that events go on.
 * Threads: any, but one at a time.
 */
VEK_PAL_API int vek_pal_sms_store_state_indication_register(void (*callback)(vek_pal_sms_event_t event,
                                                                             void *user_data),
                                                            void *user_data);

/**
 * Reads one stored message and hands out its text. The modem marks an unread message as read.
 * @param[in]  storage_type   A vek_pal_sms_storage_t.
 * @param[in]  storage_index  As in the event.
 * @param[in]  message_mode   VEK_PAL_SMS_MODE_GW, VEK_PAL_SMS_MODE_CDMA, or any other number to leave it open. The
 * message is decoded as a GSM message in every case.
 * @param[out] out_text       VEK_PAL_SMS_TEXT_MAX bytes. Not zero-terminated; 16-bit text as it came, high byte first.
 * @param[out] out_len        Bytes of text.
 *
 * @retval 0   `out_text` and `*out_len` are set.
 * @retval 7   `out_text` or `out_len` is NULL, or no such storage.
 * @retval 10  Nothing registered yet.
 * @retval -1  The modem did not answer within 10 s or has no such message, or DecodeGsmPdu() refused it.
 *
 * On a failure nothing is written. Threads: any.
 */
VEK_PAL_API int vek_pal_sms_get_message_request(int storage_type, unsigned int storage_index, int message_mode,
                                                char *out_text, int *out_len);

/**
 * Deletes one stored message.
 * @param[in] message_mode  As in vek_pal_sms_get_message_request().
 * @retval 0   Deleted.
 * @retval 7   No such storage.
 * @retval 10  Nothing registered yet.
 * @retval -1  The modem did not answer within 10 s, or refused: it has no such message, as a rule.
 * Threads: any.
 */
VEK_PAL_API int vek_pal_sms_delete_by_index(int storage_type, unsigned int storage_index, int message_mode);

/**
 * Deletes every message of a storage. The request always names CDMA as message mode; modems that keep to that word
 * leave GSM messages alone.
 * @retval 0   Deleted.
 * @retval 7   No such storage.
 * @retval 10  Nothing registered yet.
 * @retval -1  The modem did not answer within 10 s, or refused.
 * Threads: any.
 */
VEK_PAL_API int vek_pal_sms_delete_all(int storage_type);

/**
 * Decodes a GSM message (3GPP TS 23.040): service-centre address, then an SMS-DELIVER or SMS-SUBMIT.
 * @param[in]  raw     The message as the modem stores it, `length` bytes. What follows the user data is ignored.
 * @param[out] out     Cleared first. After a failure it holds what had been decoded until then and is not to be used.
 *
 * @retval 0   Decoded.
 * @retval -1  `raw` or `out` is NULL; the message ends before its lengths say; another message type; an address without
 *             digits or of more than 17 characters ("+" counted); a data coding other than 00 to 3F with a known
 * alphabet and F0 to FF; a header longer than the user data; more than 160 bytes of text. The record tells which.
 *
 * "+" stands before digits of type 0x91 only. 7-bit text becomes ISO-8859-1: Greek capitals, the euro sign and unknown
 * extension pairs are "?". Parts of a long message are not joined: each is a message, its number stands in the record.
 * Threads: any; keeps no state.
 */
VEK_PAL_API int DecodeGsmPdu(const uint8_t *raw, uint32_t length, vek_pal_sms_decoded_t *out);

/**
 * As DecodeGsmPdu(), for messages that carry data (WAP push): each octet of 8-bit user data gets a record at debug
 * level. The header (ports, parts) is skipped.
 * @retval 0   Decoded.
 * @retval -1  As DecodeGsmPdu().
 * Threads: any; keeps no state.
 */
VEK_PAL_API int DecodeGsmPdu_WAP(const uint8_t *raw, uint32_t length, vek_pal_sms_decoded_t *out);

/**
 * Decodes a CDMA message (3GPP2 C.S0015): the octet 0 (point to point), then the parameters of the transport layer.
 * @param[in]  raw     The message as the modem stores it, `length` bytes.
 * @param[out] out     As in DecodeGsmPdu(). 7-bit characters (ASCII, IA5, GSM) come out as VEK_PAL_SMS_ENCODING_7BIT,
 * octets and Latin as VEK_PAL_SMS_ENCODING_8BIT, Unicode as VEK_PAL_SMS_ENCODING_UCS2.
 *
 * @retval 0   Decoded.
 * @retval -1  `raw` or `out` is NULL; the message ends before its lengths say; an unknown parameter or subparameter, or
 * a wrong length of one; not a deliver or submit message; an incoming message without sender or time stamp, an outgoing
 * one without addressee; an address of more than 17 characters; another encoding; more than 160 bytes of text. The
 * record tells which.
 *
 * 4-bit digits 0 and 13 to 15, which the standard reserves, are D, A, B and C.
 * Threads: any; keeps no state.
 */
VEK_PAL_API int DecodeCdmaPdu(const uint8_t *raw, uint32_t length, vek_pal_sms_decoded_t *out);

#ifdef __cplusplus
}
#endif

#endif
