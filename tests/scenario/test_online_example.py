"""The example that keeps a module on the internet."""


def test_it_comes_back_after_a_drop(module):
    daemon = module.start("online", "internet.example")
    daemon.wait_line("rmnet_data0 has 10.64.0.5")
    daemon.wait_line("rmnet_data0 has 2001:db8:64:1::5")
    module.ctl("network", "drop", "ipv6")
    daemon.wait_line("the network has ended the call")
    daemon.wait_line("rmnet_data0 has 10.64.2.5")
    daemon.wait_line("rmnet_data0 has 2001:db8:64:3::5")
    module.run("ping", "-c1", "-W2", "www.example")
    daemon.popen.terminate()
