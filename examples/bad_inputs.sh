#!/bin/sh
# Makes the broken files that the error tests read, in the current folder, from good ones:
#
#   bad_inputs.sh TRACE.vkt CAPTURE.pcap
#
# shellcheck disable=SC2059  # the variables hold escapes that printf is to read
set -eu
trace=$1
capture=$2

# Traces. The first record of a good one, with its marker, is 16 bytes long.
head -c 100 "$trace" >truncated.vkt
head -c 17 "$trace" >lone_byte.vkt
{ head -c 16 "$trace"; printf 'garbage'; } >no_marker.vkt
{ head -c 16 "$trace"; printf '\125\252\000\013too short...'; } >short_size.vkt
echo 'This is no trace, and its first two letters are taken for a size.' >garbage.vkt
: >empty.vkt
# The first two records of a good trace without their markers.
{ head -c 16 "$trace" | tail -c 14; head -c 32 "$trace" | tail -c 14; } >unmarked.vkt

# Captures, from bytes: magic, version, zone, accuracy, longest packet, link type; then for each
# packet seconds, microseconds, captured and original length.
begin='\241\262\303\324\000\002\000\004\000\000\000\000\000\000\000\000\000\004\000\000'
ethernet='\000\000\000\001'
raw_ip='\000\000\000\145'
time='\145\123\361\000\000\000\000\000'
head -c 1000 "$capture" >truncated.pcap
echo 'This is no capture, although it is named like one.' >garbage.pcap
printf "$begin$ethernet" >no_packets.pcap
printf "$begin$raw_ip" >raw_ip.pcap
{
    printf "$begin$ethernet"
    printf "$time"'\000\000\000\002\000\000\000\002ok'
    printf "$time"'\000\000\377\356\000\000\377\356'
    head -c 65518 /dev/zero
} >too_large.pcap
# Of 2040-01-01, and with the lowest byte of a number first, as most machines write it.
{
    printf '\324\303\262\241\002\000\004\000\000\000\000\000\000\000\000\000\000\000\004\000\001\000\000\000'
    printf '\200\176\252\203\000\000\000\000\002\000\000\000\002\000\000\000ok'
} >far_time.pcap
{
    printf "$begin$ethernet"
    printf '\145\123\361\000\177\377\377\377\000\000\000\002\000\000\000\002ok'
} >no_time.pcap
