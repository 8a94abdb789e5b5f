"""The reference: a plain PyVISA loop over what one meter measures, as users write it. Prints readings for
each second of its own processor time.
usage: pyvisa_loop.py ADDRESS COUNT"""

import sys
import time

import pyvisa

meter = pyvisa.ResourceManager("@py").open_resource(
    f"TCPIP::{sys.argv[1]}::5025::SOCKET", read_termination="\n", write_termination="\n")
count = int(sys.argv[2])
begin = time.process_time()
for _ in range(count):
    reading = [float(meter.query(query)) for query in (
        "MEAS:AVER? 1", "MEAS:REFL:AVER? 1", "MEAS:FREQ? 1", "MEAS:TEMP? 1")]
print(count / (time.process_time() - begin))
