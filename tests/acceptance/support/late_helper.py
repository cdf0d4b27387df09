"""A process of an application that goes on working while the application is being removed: it removes files and makes
new ones.

Arguments: its folder, and a file that is removed before the folder is. It begins when that file is gone.
"""

import os
import sys
import time

if __name__ == "__main__":
    # By descriptor: nothing of it is to reach the folder that takes this one's place.
    folder = os.open(sys.argv[1], os.O_RDONLY)
    names = sorted(os.listdir(folder))
    print(flush=True)
    while os.path.exists(sys.argv[2]):
        time.sleep(0.0005)
    for name in names:
        try:
            os.close(os.open(f"new {name}", os.O_CREAT, dir_fd=folder))
            os.unlink(name, dir_fd=folder)
        except FileNotFoundError:
            pass
        time.sleep(0.001)
