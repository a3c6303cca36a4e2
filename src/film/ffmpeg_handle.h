#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavcodec/bsf.h>
#include <libavformat/avformat.h>
#include <libavutil/common.h>
#include <libavutil/imgutils.h>
#include <libswscale/swscale.h>
}

#include <memory>

// One owner for each kind of object that FFmpeg's libraries hand out.

struct FormatContextClose {
    void operator()(AVFormatContext *context) const { avformat_close_input(&context); }
};
using FormatContext = std::unique_ptr<AVFormatContext, FormatContextClose>;

struct InputOutputClose {
    void operator()(AVIOContext *context) const { avio_closep(&context); }
};
using InputOutput = std::unique_ptr<AVIOContext, InputOutputClose>;

struct CodecContextFree {
    void operator()(AVCodecContext *context) const { avcodec_free_context(&context); }
};
using CodecContext = std::unique_ptr<AVCodecContext, CodecContextFree>;

struct ParserClose {
    void operator()(AVCodecParserContext *parser) const { av_parser_close(parser); }
};
using Parser = std::unique_ptr<AVCodecParserContext, ParserClose>;

struct BitstreamFilterFree {
    void operator()(AVBSFContext *filter) const { av_bsf_free(&filter); }
};
using BitstreamFilter = std::unique_ptr<AVBSFContext, BitstreamFilterFree>;

struct PacketFree {
    void operator()(AVPacket *packet) const { av_packet_free(&packet); }
};
using Packet = std::unique_ptr<AVPacket, PacketFree>;

struct FrameFree {
    void operator()(AVFrame *frame) const { av_frame_free(&frame); }
};
using Frame = std::unique_ptr<AVFrame, FrameFree>;

struct ScalerFree {
    void operator()(SwsContext *scaler) const { sws_freeContext(scaler); }
};
using Scaler = std::unique_ptr<SwsContext, ScalerFree>;
