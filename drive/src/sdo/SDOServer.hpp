#ifndef TAV_DRIVE_SRC_SDO_SDOSERVER_HPP
#define TAV_DRIVE_SRC_SDO_SDOSERVER_HPP

#include <cstdint>

#include "node/Part.hpp"
#include "sdo/BlockDownloadServer.hpp"
#include "sdo/BlockUploadServer.hpp"

namespace tav::drive {

/**
 * One SDO server channel: objects 0x1200 and following, expedited, segmented and block transfers (CiA
 * 301, 7.2.4).
 * Not served while the node is stopped or boots. A transfer whose client falls silent is aborted after 5 s.
 */
class SDOServer : public Part {
 public:
  /** @param channel  counted from 0: the channel that 0x1200 + channel describes */
  SDOServer(Context& context, std::uint16_t channel);

  void reset(Reset kind) override;
  void receive(const nkr::can::Frame& frame) override;
  void nmt_changed(NMTState before) override;
  [[nodiscard]] Time next_due() const override;
  void run() override;

 private:
  enum class Transfer : std::uint8_t {
    NONE,
    DOWNLOAD,
    UPLOAD,
    BLOCK_DOWNLOAD,      ///< whatever comes is a segment
    BLOCK_DOWNLOAD_END,  ///< all segments are there
    BLOCK_UPLOAD,        ///< the client has to start or to acknowledge
    BLOCK_UPLOAD_END     ///< it has to confirm the end
  };

  [[nodiscard]] Abort refuses_identifier(const Variable<std::uint32_t>& held, std::uint32_t value) const;
  void take_identifiers();
  void serve(const nkr::can::Frame& request);
  [[nodiscard]] bool admitted(bool write, bool single);
  void begin_download(const nkr::can::Frame& request);
  void download_segment(const nkr::can::Frame& request);
  void finish_download();
  void store(const Bytes& bytes, const nkr::can::Frame& confirmation);
  void begin_upload(const nkr::can::Frame& request);
  void upload_segment(const nkr::can::Frame& request);
  const Object* open_for_upload();
  void upload_in_segments(const Bytes& value);
  void serve_block_download(const nkr::can::Frame& request);
  void begin_block_download(const nkr::can::Frame& request);
  [[nodiscard]] bool begins_anew(const nkr::can::Frame& frame) const;
  void take_block_segment(const nkr::can::Frame& segment);
  void finish_block_download(const nkr::can::Frame& request);
  void serve_block_upload(const nkr::can::Frame& request);
  void begin_block_upload(const nkr::can::Frame& request);
  void acknowledge_block_upload(const nkr::can::Frame& request);
  void send_sub_block();
  void answer(const nkr::can::Frame& reply);
  void abort(Abort code);
  void remember(const nkr::can::Frame& request);
  [[nodiscard]] nkr::can::Frame reply(std::uint8_t command) const;
  [[nodiscard]] nkr::can::Frame reply_with_object(std::uint8_t command) const;

  Context& context_;
  std::uint16_t index_of_channel_;
  Variable<std::uint32_t> request_id_;
  Variable<std::uint32_t> reply_id_;
  std::uint32_t listens_to_ = 0;
  std::uint32_t answers_on_ = 0;
  bool open_ = false;

  // The transfer under way.
  Transfer transfer_ = Transfer::NONE;
  Time deadline_{};  ///< of the client's next frame
  std::uint16_t index_ = 0;
  std::uint8_t subindex_ = 0;
  bool toggle_ = false;
  bool in_segments_ = false;
  bool size_known_ = false;
  std::uint32_t announced_size_ = 0;
  Bytes data_;
  std::size_t sent_ = 0;
  BlockDownloadServer block_download_;
  BlockUploadServer block_upload_;
};

}  // namespace tav::drive

#endif
